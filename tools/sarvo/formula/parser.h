// Formulas as text: C-like expressions of columns and parameters, by recursive descent to a tape.
//
//     sum     = product { (+|-) product }            product = unary { (*|/) unary }
//     unary   = (+|-) unary | power                  power   = primary [ (^|**) unary ]      right to left
//     primary = number | name | $N | function ( sum {, sum} ) | ( sum ) | [ sum ]
//
// so -x^2 is -(x^2) and 2^-1 is allowed. Functions: those of tape.h, pow, min, max, atan2. pi and e are constants
// unless a column or parameter has the name.
#pragma once

#include <string>
#include <vector>

#include "data/table.h"
#include "tape.h"

namespace command::formula {

struct Model {
    Tape left;  // of columns only
    Tape right; // of columns and parameters
};

// Parses "left ~ right". Throws usage_error with a caret under the place, and the nearest name for an unknown one.
Model parse_model(const std::string &text, const Table &table, const std::vector<std::string> &parameters);

// Parses one expression of the named variables: the columns that evaluations give in that order. Throws as parse_model.
Tape parse_expression(const std::string &text, const std::vector<std::string> &variables);

} // namespace command::formula
