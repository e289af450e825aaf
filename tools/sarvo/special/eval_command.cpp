// The subcommand eval.
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include <sarvo/sarvo.h>

#include "errors.h"
#include "formula/parser.h"
#include "line/options.h"
#include "line/subcommands.h"
#include "special/special_functions.h"
#include "stopwatch.h"

namespace command {
namespace {

std::string prose() {
    std::string text =
        "EXPRESSION is arithmetic as in fit (with lngamma, gamma, psi, psi1), or one special function of such, which\n"
        "comes with its error estimate:\n";
    for (const auto &f : special::functions()) {
        std::string call = std::string(f.name) + "(";
        for (size_t i = 0; i < f.arguments.size(); i++) call += (i ? ", " : "") + std::string(f.arguments[i]);
        call += ")";
        text += "  " + call + std::string(call.size() < 14 ? 14 - call.size() : 1, ' ') + std::string(f.meaning) + "\n";
    }
    return text;
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
    OutputOptions form;
};

Value relative(const special::Result &r) {
    return r.error && r.value != 0.0 ? Value(*r.error / std::fabs(r.value)) : Value();
}

// What is wrong with a value that is none; empty for a number.
std::string fault_of(double value) {
    if (std::isinf(value)) return "the value is infinite or beyond the largest number";
    return std::isnan(value) ? "the value is not a number" : "";
}

int run_eval(const Arguments &a) {
    const Stopwatch watch;
    Answer answer;
    Grid values, errors;
    ExitCode outcome = exit_done;
    const auto refuse = [&](const std::string &text, const std::string &why, ExitCode code) {
        errors.rows.push_back({text, why});
        if (outcome == exit_done) outcome = code;
    };
    for (const std::string &text : a.expressions) {
        try {
            const special::Result r = evaluate(text);
            const std::string fault = fault_of(r.value);
            if (fault.empty()) values.rows.push_back({text, r.value, value(r.error), relative(r), value(r.sign)});
            else refuse(text, fault, exit_numerical);
        } catch (const Failure &e) {
            refuse(text, e.what(), e.code());
        }
    }

    // The values that there are come to standard output, whatever became of the others.
    answer
        .grid("values", "",
              {{"expression", "expression"},
               {"value", "value", 0, true},
               {"error", "error estimate", 2},
               {"relative", "relative", 2},
               {"sign", "sign of Gamma"}})
        .rows = values.rows;
    if (!errors.rows.empty()) {
        Grid &grid = answer.grid("errors", "without a value", {{"expression", "expression"}, {"reason", "reason"}});
        grid.rows = errors.rows;
        grid.audience = Audience::programs;
    }
    answer.time(watch.seconds());
    if (!values.rows.empty()) print(answer, a.form);
    if (outcome == exit_done) return exit_done;
    std::string message;
    for (const auto &row : errors.rows) {
        const std::string &text = std::get<std::string>(row[0]), &why = std::get<std::string>(row[1]);
        const bool named = why.find(text) != std::string::npos;
        message += (message.empty() ? "" : "\n") + (named ? "" : text + ": ") + why;
    }
    throw Failure(outcome, message);
}

} // namespace

Run add_eval(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose(),
            {"sarvo eval 'lngamma(0.5)' 'hzeta(2, 1)'", "sarvo eval 'psin(3, 1/4)' --format json",
             "sarvo eval 'exp(lngamma(10.5) - lngamma(10))'"});
    argument(app, "EXPRESSION", a->expressions, "One or more")->required();
    add_output_options(app, a->form);
    return [a] { return run_eval(*a); };
}

} // namespace command
