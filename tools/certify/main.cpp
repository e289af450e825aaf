// sarvo_certify: fits the example data from each of their starts and counts the digits that agree with the certified
// results.
//
// usage: sarvo_certify FILE.csv...      exit code 1 when a parameter or a standard deviation has fewer than 4 certified
// digits
//
// The comments of a file say what to do and what must come out:
//     # formula: y ~ b1*x^b2      # start 1: b1=1,b2=5      # certified b1: VALUE STANDARD_DEVIATION
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "data/source.h"
#include "data/table.h"
#include "fit/fit.h"
#include "fit/start_values.h"
#include "library.h"
#include "numbers.h"

namespace {

constexpr double required_digits = 4.0;
constexpr double certified_digits = 11.0; // what the certificates give

struct Certified {
    double value, deviation;
};

struct Exercise {
    std::string name, formula;
    std::vector<std::string> starts;
    std::map<std::string, Certified> parameters;
};

// Text behind `key` at the begin of a line, or nothing.
bool strip(const std::string &line, const std::string &key, std::string *rest) {
    if (line.rfind(key, 0) != 0) return false;
    *rest = line.substr(std::min(line.find_first_not_of(' ', key.size()), line.size()));
    return true;
}

Exercise read_exercise(const std::string &path) {
    Exercise exercise;
    std::istringstream lines(command::read_text(path));
    std::string rest;
    for (std::string line; std::getline(lines, line);) {
        if (strip(line, "# formula:", &rest)) exercise.formula = rest;
        else if (strip(line, "# start ", &rest)) exercise.starts.push_back(rest.substr(rest.find(':') + 1));
        else if (strip(line, "# certified ", &rest) && rest.rfind("sum", 0) != 0) {
            std::istringstream words(rest);
            std::string name, value, deviation;
            words >> name >> value >> deviation;
            name.pop_back(); // the colon
            exercise.parameters[name] = {command::parse_number(value).value_or(0.0),
                                         command::parse_number(deviation).value_or(0.0)};
        } else if (exercise.name.empty() && strip(line, "# ", &rest)) exercise.name = rest.substr(0, rest.find(':'));
    }
    return exercise;
}

// Digits that agree: -log10 of the relative error (the absolute one beside 0), at most the certified ones.
double digits(double computed, double certified) {
    if (!std::isfinite(computed)) return 0.0;
    const double error = std::fabs(computed - certified) / (certified != 0.0 ? std::fabs(certified) : 1.0);
    return error == 0.0 ? certified_digits : std::clamp(-std::log10(error), 0.0, certified_digits);
}

struct Worst {
    double parameter = certified_digits, deviation = certified_digits;
};

Worst compare(const Exercise &exercise, const command::FitResult &result) {
    Worst worst;
    for (size_t p = 0; p < result.names.size(); p++) {
        const Certified &certified = exercise.parameters.at(result.names[p]);
        worst.parameter = std::min(worst.parameter, digits(result.estimates[p], certified.value));
        worst.deviation = std::min(worst.deviation, digits(result.standard_errors[p], certified.deviation));
    }
    return worst;
}

// Prints one line per start; false when digits are missing.
bool run(const std::string &path, Worst *overall) {
    const Exercise exercise = read_exercise(path);
    if (exercise.formula.empty() || exercise.starts.empty() || exercise.parameters.empty()) {
        std::printf("%s: the comments with formula, starts and certified values are missing\n", path.c_str());
        return false;
    }
    const command::Table table = command::read_table(path);
    bool enough = true;
    for (size_t s = 0; s < exercise.starts.size(); s++) {
        command::FitOptions options;
        options.formula = exercise.formula;
        options.start = command::parse_start(exercise.starts[s]);
        const command::FitResult result = command::fit(table, options);
        const Worst worst = compare(exercise, result);
        enough = enough && worst.parameter >= required_digits && worst.deviation >= required_digits;
        overall->parameter = std::min(overall->parameter, worst.parameter);
        overall->deviation = std::min(overall->deviation, worst.deviation);
        std::printf("  %-9s %5zu %6zu %6zu %6d %11.1f %11.1f   %s\n", exercise.name.c_str(), s + 1, result.rows,
                    result.names.size(), result.iterations, worst.parameter, worst.deviation, result.reason.c_str());
    }
    return enough;
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 2) {
        std::fputs("usage: sarvo_certify FILE.csv...\n", stderr);
        return 2;
    }
    std::printf(
        "Certified data (NIST): digits of the worst parameter and the worst standard deviation (11 are certified)\n\n");
    std::printf("  %-9s %5s %6s %6s %6s %11s %11s   %s\n", "set", "start", "rows", "param.", "iter.", "parameter",
                "std. dev.", "stopped because");
    bool enough = true;
    Worst overall;
    try {
        command::start_library();
        for (int i = 1; i < argc; i++) enough = run(argv[i], &overall) && enough;
    } catch (const std::exception &e) {
        std::fprintf(stderr, "sarvo_certify: %s\n", e.what());
        return 3;
    }
    std::printf("\n  worst of all: parameter %.1f digits, standard deviation %.1f digits (%.0f are required)\n",
                overall.parameter, overall.deviation, required_digits);
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::fputs("sarvo_certify: the table could not be written\n", stderr);
        return 4;
    }
    return enough ? 0 : 1;
}
