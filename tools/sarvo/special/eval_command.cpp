// The subcommand eval.
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <sarvo/sarvo.h>

#include "errors.h"
#include "formula/parser.h"
#include "library.h"
#include "numbers.h"
#include "output.h"
#include "special/special_functions.h"
#include "subcommands.h"
#include "text.h"

namespace command {
namespace {

std::string footer() {
    std::string text =
        "EXPRESSION is arithmetic as in fit (with lngamma, gamma, psi, psi1), or one special function of such, which\n"
        "comes with its error estimate:\n";
    for (const auto &f : special::functions()) {
        std::string call = std::string(f.name) + "(";
        for (size_t i = 0; i < f.arguments.size(); i++) call += (i ? ", " : "") + std::string(f.arguments[i]);
        call += ")";
        text += "  " + call + std::string(call.size() < 14 ? 14 - call.size() : 1, ' ') + std::string(f.meaning) + "\n";
    }
    return text + "\nExamples:\n"
                  "  sarvo eval 'lngamma(0.5)' 'hzeta(2, 1)'\n"
                  "  sarvo eval 'psin(3, 1/4)' --format json\n"
                  "  sarvo eval 'exp(lngamma(10.5) - lngamma(10))'";
}

// "name(a, b)" taken apart where the parentheses are the whole of it; no name otherwise.
struct Call {
    std::string name;
    std::vector<std::string> arguments;
};

Call take_apart(const std::string &text) {
    const size_t begin = text.find_first_not_of(" \t"), open = text.find('(');
    const size_t last = text.find_last_not_of(" \t");
    if (begin == std::string::npos || open == std::string::npos || text[last] != ')') return {};
    Call call;
    int depth = 0;
    size_t from = open + 1;
    for (size_t i = open; i <= last; i++) {
        if (text[i] == '(' || text[i] == '[') depth++;
        if (text[i] == ')' || text[i] == ']') depth--;
        if ((depth == 1 && text[i] == ',') || depth == 0) {
            call.arguments.push_back(text.substr(from, i - from));
            from = i + 1;
        }
        if (depth == 0 && i != last) return {};
    }
    call.name = text.substr(begin, open - begin);
    call.name.erase(call.name.find_last_not_of(" \t") + 1);
    return call;
}

double arithmetic(const std::string &text) {
    const formula::Tape tape = formula::parse_expression(text, {});
    auto work = tape.work(0);
    return tape.evaluate({}, 0, {}, nullptr, work);
}

special::Result evaluate(const std::string &text) {
    const Call call = take_apart(text);
    const special::Function *f = special::find(call.name);
    if (!f) return {arithmetic(text), std::nullopt, std::nullopt};
    if (call.arguments.size() != f->arguments.size())
        throw usage_error(std::string(f->name) + " takes " + std::to_string(f->arguments.size()) + " argument" +
                          (f->arguments.size() == 1 ? "" : "s"));
    std::vector<double> x;
    for (const std::string &argument : call.arguments) x.push_back(arithmetic(argument));
    try {
        return f->evaluate(x);
    } catch (const Failure &e) {
        throw Failure(e.code(), text + ": " + e.what());
    }
}

struct Arguments {
    std::vector<std::string> expressions;
    std::string format = "table";
};

std::string as_table(const std::vector<std::string> &expressions, const std::vector<special::Result> &results) {
    std::vector<std::vector<std::string>> rows = {{"expression", "value", "error estimate", "relative"}};
    for (size_t i = 0; i < results.size(); i++) {
        const special::Result &r = results[i];
        rows.push_back({expressions[i], shortest(r.value)});
        if (r.error) {
            rows.back().push_back(general(*r.error, 2));
            rows.back().push_back(r.value == 0.0 ? "-" : general(*r.error / std::fabs(r.value), 2));
        }
        if (r.sign) rows.back().push_back(*r.sign < 0.0 ? "Gamma < 0" : "Gamma > 0");
    }
    return aligned(rows);
}

std::string as_csv(const std::vector<std::string> &expressions, const std::vector<special::Result> &results) {
    std::string text = "expression,value,error\n";
    for (size_t i = 0; i < results.size(); i++)
        text += csv_cell(expressions[i]) + "," + csv_number(results[i].value) + "," +
                (results[i].error ? csv_number(*results[i].error) : "") + "\n";
    return text;
}

std::string as_json(const std::vector<std::string> &expressions, const std::vector<special::Result> &results) {
    std::string text = "[";
    for (size_t i = 0; i < results.size(); i++)
        text += std::string(i ? "," : "") + "\n  {\"expression\": " + json_string(expressions[i]) +
                ", \"value\": " + json_number(results[i].value) + ", \"error\": " + json_number(results[i].error) +
                ", \"sign\": " + json_number(results[i].sign) + "}";
    return text + "\n]\n";
}

int run_eval(const Arguments &a) {
    check(sarvo_initialize());
    std::vector<special::Result> results;
    for (const std::string &text : a.expressions) results.push_back(evaluate(text));
    const auto form = a.format == "json" ? as_json : a.format == "csv" ? as_csv : as_table;
    write_out(form(a.expressions, results));
    return exit_done;
}

} // namespace

Run add_eval(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    app.footer(footer());
    app.add_option("EXPRESSION", a->expressions, "One or more")->required()->type_name("");
    app.add_option("--format", a->format, "table, csv or json (default table)")
        ->check(CLI::Validator(CLI::IsMember({"table", "csv", "json"})).description(""))
        ->type_name("FORM");
    return [a] { return run_eval(*a); };
}

} // namespace command
