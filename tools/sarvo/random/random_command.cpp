// The subcommand random.
#include <algorithm>
#include <cmath>
#include <memory>

#include <sarvo/rsamp.h>

#include "answer/output.h"
#include "data/npy.h"
#include "library.h"
#include "line/options.h"
#include "line/subcommands.h"
#include "line/suggest.h"
#include "numbers.h"
#include "progress.h"
#include "random/sources.h"
#include "stopwatch.h"

namespace command {
namespace {

constexpr uint64_t block_size = 1 << 15; // 256 KiB of doubles: they stay in the cache

std::string prose() {
    std::string text = "Prints N numbers. Equal seeds give equal integers and uniform numbers on every machine, and "
                       "equal deviates of the\n"
                       "others on machines whose exp, log and pow are equal; elsewhere some differ in the last digit. "
                       "Distributions and\n"
                       "their parameters:\n";
    for (const Deviate &d : deviates()) {
        std::string call(d.name);
        for (const Parameter &p : d.parameters)
            call += " " + (p.standard ? "[" + std::string(p.name) + "]" : std::string(p.name));
        text += "  " + call + std::string(call.size() < 30 ? 30 - call.size() : 1, ' ') +
                (d.twister && d.classic ? "all      "
                 : d.twister            ? "mt       "
                                        : "classic  ") +
                std::string(d.meaning) + "\n";
    }
    return text + "Generators: mt (MT19937), and the classic ones kiss, xorshift and mwc. --output FILE.npy is the "
                  "fast way.\n";
}

struct Arguments {
    std::string name, output;
    uint64_t count = 0;
    std::vector<std::string> words;
    SourceOptions source;
    OutputOptions form;
};

const Deviate &find(const std::string &name) {
    std::vector<std::string> names;
    for (const Deviate &d : deviates()) {
        if (d.name == name) return d;
        names.emplace_back(d.name);
    }
    throw usage_error("there is no distribution '" + name + "'." + suggestion(name, names));
}

double parameter(const Parameter &p, const std::string *word) {
    if (!word && !p.standard) throw usage_error("the parameter " + std::string(p.name) + " is missing");
    const auto x = word ? parse_number(*word) : p.standard;
    if (!x || !std::isfinite(*x)) throw usage_error("'" + *word + "' is not a finite number");
    if (p.positive && !(*x > 0.0)) throw usage_error(std::string(p.name) + " must be greater than 0");
    if (p.name == "s" && (*x != std::floor(*x) || *x > 4294967295.0))
        throw usage_error("s must be an integer from 1 to 4294967295");
    return *x;
}

std::vector<double> parameters(const Deviate &d, const std::vector<std::string> &words) {
    if (words.size() > d.parameters.size())
        throw usage_error(std::string(d.name) + " takes at most " + std::to_string(d.parameters.size()) +
                          " parameters");
    std::vector<double> all;
    for (size_t i = 0; i < d.parameters.size(); i++)
        all.push_back(parameter(d.parameters[i], i < words.size() ? &words[i] : nullptr));
    return all;
}

// Mean, spread, extremes and, if asked for, the fingerprint of what went by in blocks.
class Tally {
public:
    explicit Tally(bool with_fingerprint) : with_fingerprint_(with_fingerprint) {}

    void add(std::span<const double> block) {
        double mean = 0.0;
        const double variance = sarvo_rsamp_mean_variance(block.data(), static_cast<int32_t>(block.size()), &mean);
        const auto n = static_cast<double>(block.size()), before = static_cast<double>(count_);
        const double shift = mean - mean_, all = before + n; // the blocks joined (Chan, Golub, LeVeque, 1979)
        squares_ += variance * (n - 1.0) + shift * shift * before * n / all;
        mean_ += shift * n / all;
        count_ += block.size();
        if (with_fingerprint_)
            for (const double x : block) hash_.add(x);
    }
    void report(Answer &answer, const Deviate &d, const std::vector<double> &p) const {
        const auto theory = [](const std::optional<double> &x) { return x ? "(" + general(*x, 6) + " expected)" : ""; };
        answer.fact("mean", "mean", mean_, 6, theory(d.mean(p)));
        answer.fact("sd", "standard deviation",
                    count_ > 1 ? Value(std::sqrt(squares_ / static_cast<double>(count_ - 1))) : Value(), 6,
                    theory(d.deviation(p)));
        if (with_fingerprint_) answer.fact("fingerprint", "fingerprint of the numbers", hash_.text());
    }

private:
    bool with_fingerprint_;
    uint64_t count_ = 0;
    double mean_ = 0.0, squares_ = 0.0;
    Fingerprint hash_;
};

// Draws block after block and hands each to `take`.
template <typename Take> void draw(const Arguments &a, const Source &source, Tally &tally, Take take) {
    Progress progress;
    std::vector<double> room(std::min(a.count, block_size));
    for (uint64_t done = 0; done < a.count;) {
        const std::span<double> block(room.data(), std::min(a.count - done, block_size));
        source(block);
        tally.add(block);
        take(std::span<const double>(block));
        done += block.size();
        const double share = static_cast<double>(done) / static_cast<double>(a.count);
        progress.show(std::to_string(static_cast<int>(100.0 * share)) + "%  " +
                      general(static_cast<double>(done) / progress.seconds() * 1e-6, 3) + " million/s  " +
                      general(progress.seconds() / share * (1.0 - share), 2) + " s left");
    }
}

std::string lines(std::span<const double> block, bool hex) {
    std::string text;
    for (const double x : block) {
        text += hex ? hexadecimal(x) : shortest(x);
        text += '\n';
    }
    return text;
}

Answer describe(const Arguments &a, const Deviate &d, const std::vector<double> &p) {
    Answer answer;
    std::string call(d.name);
    for (const double x : p) call += " " + shortest(x);
    answer.fact("distribution", "distribution", call);
    answer.fact("generator", "generator", a.source.generator);
    answer.fact("seed", "seed", whole(a.source.seed));
    answer.fact("n", "n", whole(a.count));
    return answer;
}

void to_npy(const Arguments &a, const Source &source, Tally &tally) {
    const uint64_t shape[] = {a.count};
    NpyWriter file(a.output, shape);
    draw(a, source, tally, [&](std::span<const double> block) { file.write(block); });
    file.finish();
}

int run_random(const Arguments &a) {
    const Deviate &d = find(a.name);
    const std::vector<double> p = parameters(d, a.words);
    const Source source = open_source(d, p, a.source);
    if (!a.output.empty() && (a.output.size() < 5 || a.output.substr(a.output.size() - 4) != ".npy"))
        throw usage_error("--output: the name '" + a.output + "' does not end in .npy");
    const Stopwatch watch;
    Tally tally(a.form.fingerprint);
    Answer answer = describe(a, d, p);
    OutputOptions form = a.form;
    form.fingerprint = false; // the tally has that of the numbers
    const bool columns = resolved_format(a.form) == "tsv" || a.form.format == "csv";
    if (!a.output.empty()) {
        to_npy(a, source, tally);
    } else if (columns) { // in constant memory; what is known only in the end comes last
        write_out(formatted(answer, form) + "x\n");
        answer = Answer();
        draw(a, source, tally, [&](std::span<const double> block) { write_out(lines(block, a.form.hex)); });
    } else {
        if (a.count > 10000000)
            throw usage_error("more than 10 million numbers go to --output FILE.npy, or --format tsv");
        std::vector<double> all;
        draw(a, source, tally,
             [&](std::span<const double> block) { all.insert(all.end(), block.begin(), block.end()); });
        answer.list("x", "", "number", all).shown = 40;
    }
    tally.report(answer, d, p);
    answer.time(watch.seconds());
    print(answer, form);
    return exit_done;
}

} // namespace

Run add_random(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose(),
            {"sarvo random normal 10 --seed 42", "sarvo random gamma 1000 2.5 1 --generator kiss --format csv",
             "sarvo random uniform 100000000 --seed 7 --output u.npy"});
    argument(app, "DIST", a->name, "Distribution")->required();
    argument(app, "N", a->count, "How many")
        ->required()
        ->check(CLI::Validator(CLI::Range(uint64_t{1}, uint64_t{1} << 50)).description(""));
    argument(app, "PARAMETERS", a->words, "Its parameters");
    option(app, "--seed", a->source.seed, "N", "Seed (default 1)");
    choice(app, "--generator", a->source.generator, "mt|kiss|xorshift|mwc", "Generator (default mt)");
    choice(app, "--method", a->source.method, "ziggurat|polar", "Normal deviates of mt (default ziggurat)");
    option(app, "--output", a->output, "FILE", "Write the numbers to FILE.npy");
    add_output_options(app, a->form);
    return [a] { return run_random(*a); };
}

} // namespace command
