// Formulas: parsed they can be evaluated anywhere, to the same value with and without derivatives.
#include "formula/parser.h"

#include <sarvo/sarvo.h>

#include "support.h"

namespace {

namespace formula = command::formula;

const std::vector<std::string> parameters = {"a", "b2"};

command::Table table() {
    command::Table t;
    t.names = {"y", "x", "long name"};
    t.columns = {{0.5, -1e300, 3.0}, {0.0, 2.0, 171.5}, {-0.75, 1e-300, 1e10}};
    t.lines = {1, 2, 3};
    return t;
}

void evaluate(const formula::Tape &tape, const command::Table &t, const std::vector<double> &values) {
    auto work = tape.work(values.size());
    for (size_t i = 0; i < t.rows(); i++) {
        double gradient[2] = {-1.0, -1.0};
        const double plain = tape.evaluate(t.columns, i, values, nullptr, work);
        const double with_gradient = tape.evaluate(t.columns, i, values, gradient, work);
        fuzz::require(fuzz::same(plain, with_gradient), "the value is the same with derivatives");
        if (!tape.uses_parameters() && !values.empty())
            fuzz::require(gradient[0] == 0.0 && gradient[1] == 0.0, "constants have no derivatives");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool ready = !sarvo_initialize();
    static const command::Table t = table();
    fuzz::require(ready, "the library starts");
    const std::string text = fuzz::text_of(data, size);
    if (text.find('~') == std::string::npos) {
        formula::Tape expression;
        const auto parse = [&] { expression = formula::parse_expression(text, t.names); };
        if (fuzz::refusal(command::exit_usage, parse).empty()) evaluate(expression, t, {});
        return 0;
    }
    formula::Model model;
    const auto parse = [&] { model = formula::parse_model(text, t, parameters); };
    if (!fuzz::refusal(command::exit_usage, parse).empty()) return 0;
    evaluate(model.left, t, {});
    for (const double a : {0.0, 1.5, -3.0}) evaluate(model.right, t, {a, 0.25 - a});
    return 0;
}
