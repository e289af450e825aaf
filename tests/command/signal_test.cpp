// fft, conv and random by the command: closed forms, streams equal to the library's single draws, every distribution.
#include <cmath>

#include <sarvo/nr.h>
#include <sarvo/rng.h>

#include "command_support.h"
#include "data/matrix.h"
#include "data/table.h"
#include "numbers.h"
#include "random/sources.h"
#include "test_support.h"

namespace {

using namespace test::cli;
using command::Table;

Table table(const Answer &answer) { return command::parse_table(answer.out, "answer"); }

TEST(FftCommand, TransformsRealAndComplexListsBothWays) {
    const Answer impulse = sarvo("fft - --rate 8", "0\n1\n0\n0\n"); // e^(+2 pi i k / 4)
    EXPECT_EQ(impulse.exit_code, 0) << impulse.err;
    EXPECT_EQ(table(impulse).columns[1], (std::vector<double>{0, 2, 4, 6}));
    EXPECT_EQ(table(impulse).columns[2], (std::vector<double>{1, 0, -1, 0}));
    EXPECT_EQ(table(impulse).columns[3], (std::vector<double>{0, 1, 0, -1}));
    const std::string pairs = "1 2\n3 -4\n0.5 6\n-7 8\n";
    std::string spectrum;
    const Table forward = table(sarvo("fft -", pairs));
    for (size_t k = 0; k < 4; k++)
        spectrum += command::shortest(forward.columns[2][k]) + " " + command::shortest(forward.columns[3][k]) + "\n";
    const Table back = table(sarvo("fft - --inverse", spectrum));
    const Table given = command::parse_table(pairs, "pairs");
    for (size_t k = 0; k < 4; k++) {
        EXPECT_NEAR(back.columns[2][k], given.columns[0][k], 1e-14);
        EXPECT_NEAR(back.columns[3][k], given.columns[1][k], 1e-14);
    }
    const Answer padded = sarvo("fft - --pad", "1\n2\n3\n");
    EXPECT_NE(padded.out.find("# note: zeros were appended"), std::string::npos);
    EXPECT_EQ(table(padded).rows(), 4u);
    EXPECT_NE(padded.out.find("# energy: 0\n"), std::string::npos) << padded.out;
}

// Against the defining sum, in extended precision; back through the pipe; the residual of the round trip.
TEST(FftCommand, TransformsAnyLengthAsGiven) {
    test::Random random(3);
    for (const size_t n : {1u, 2u, 3u, 5u, 6u, 7u, 12u, 31u, 97u, 100u, 360u, 1000u}) {
        std::string text;
        std::vector<double> re, im;
        for (size_t k = 0; k < n; k++) {
            re.push_back(random.symmetric());
            im.push_back(random.symmetric());
            text += command::shortest(re[k]) + " " + command::shortest(im[k]) + "\n";
        }
        const Answer forward = sarvo("fft - --complex", text), back = sarvo("fft - --inverse", forward.out);
        ASSERT_EQ(forward.exit_code + back.exit_code, 0) << n << forward.err << back.err;
        const Table spectrum = table(forward), again = table(back);
        ASSERT_EQ(spectrum.rows(), n);
        ASSERT_EQ(again.rows(), n);
        for (size_t j = 0; j < n; j++) {
            long double sum_re = 0, sum_im = 0;
            for (size_t k = 0; k < n; k++) {
                const long double angle = 2 * 3.14159265358979323846264338327950288L *
                                          static_cast<long double>(j * k % n) / static_cast<long double>(n);
                sum_re += re[k] * std::cos(angle) - im[k] * std::sin(angle);
                sum_im += re[k] * std::sin(angle) + im[k] * std::cos(angle);
            }
            const double bound = 1e-15 * static_cast<double>(n) + 1e-15;
            EXPECT_NEAR(spectrum.columns[2][j], static_cast<double>(sum_re), bound) << n << " " << j;
            EXPECT_NEAR(spectrum.columns[3][j], static_cast<double>(sum_im), bound) << n << " " << j;
            EXPECT_NEAR(again.columns[2][j], re[j], 1e-14) << n;
            EXPECT_NEAR(again.columns[3][j], im[j], 1e-14) << n;
        }
    }
}

TEST(FftCommand, SaysWhatItTookAndWritesWhatItReads) {
    const std::string two = "t,y\n0,1\n1,2\n2,4\n", three = "a,b,c\n0,1,9\n1,2,9\n2,4,9\n";
    const struct {
        std::string arguments, input, taken;
        int code;
    } rows[] = {
        {"fft -", two, "columns t and y as real and imaginary parts", 0},
        {"fft - --column y", two, "column y", 0},
        {"fft - --column '$2'", two, "column y", 0},
        {"fft - --column y,t", two, "columns y and t as real and imaginary parts", 0},
        {"fft -", "1\n2\n3\n", "column c1", 0},
        {"fft -", "1 2 3\n", "one row", 0},
        {"fft -", three, "it has 3 columns: --column NAME takes one", 3},
        {"fft - --column z", three, "there is no column 'z'", 2},
        {"fft - --complex", "1\n2\n3\n", "it has 1 columns", 3},
        {"fft - --output x.txt", two, "does not end in .npy, .tsv or .csv", 2},
    };
    for (const auto &row : rows) {
        const Answer answer = sarvo(row.arguments, row.input);
        EXPECT_EQ(answer.exit_code, row.code) << row.arguments << answer.err;
        EXPECT_NE((answer.out + answer.err).find(row.taken), std::string::npos)
            << row.arguments << answer.out << answer.err;
    }
    for (const char *kind : {".npy", ".csv", ".tsv"}) {
        const std::string path = testing::TempDir() + "sarvo_fft_output" + kind;
        EXPECT_EQ(sarvo("fft - --column y --output " + path, two).exit_code, 0);
        const Table back = table(sarvo("fft " + path + " --inverse"));
        ASSERT_EQ(back.rows(), 3u);
        for (size_t i = 0; i < 3; i++) EXPECT_NEAR(back.columns[2][i], static_cast<double>(1 << i), 1e-15);
        std::remove(path.c_str());
    }
}

TEST(ConvCommand, MultipliesPolynomialsAndWrapsAround) {
    const std::string y = testing::TempDir() + "sarvo_conv_y.txt";
    std::ofstream(y) << "1\n1\n1\n";
    const Answer linear = sarvo("conv - " + y, "1\n2\n3\n4\n"),
                 periodic = sarvo("conv - " + y + " --periodic", "1\n2\n");
    EXPECT_EQ(table(linear).columns[0], (std::vector<double>{1, 3, 6, 9, 7, 4})) << linear.err;
    EXPECT_EQ(table(periodic).columns[0], (std::vector<double>{3, 3, 3})) << periodic.err;
    EXPECT_NE(linear.out.find("# sum: 30\n# sum_difference: 0\n"), std::string::npos) << linear.out;
    EXPECT_EQ(sarvo("conv - -").exit_code, 2);
    std::remove(y.c_str());
}

TEST(RandomCommand, StreamsAreThoseOfTheLibrary) {
    sarvo_rng_t *rng = nullptr;
    sarvo_nr_rng_t *classic = nullptr;
    ASSERT_FALSE(sarvo_rng_init(&rng, 0, 7) || sarvo_rng_gauss_init(rng, 2) || sarvo_nr_rng_init(&classic, 2, 7));
    const auto normals = table(sarvo("random normal 70000 --seed 7 --format csv")).columns[0];
    ASSERT_EQ(normals.size(), 70000u);
    for (const double x : normals) ASSERT_EQ(x, sarvo_rng_gauss(rng, 1.0));
    const auto cauchy = table(sarvo("random cauchy 100 1 2 --seed 7 --generator mwc")).columns[0];
    for (const double x : cauchy) ASSERT_EQ(x, sarvo_nr_rng_cauchydev(classic, 1.0, 2.0));
    sarvo_rng_free(rng);
    sarvo_nr_rng_free(classic);
    // The reference stream of the generator, seed 5489.
    EXPECT_EQ(table(sarvo("random bits 2 --seed 5489")).columns[0], (std::vector<double>{3499211612, 581869302}));
}

TEST(RandomCommand, EveryDistributionHasItsMomentsFromEveryGeneratorThatHasIt) {
    for (const command::Deviate &d : command::deviates())
        for (const char *generator : {"mt", "kiss", "xorshift", "mwc"}) {
            const bool has = std::string(generator) == "mt" ? d.twister : d.classic;
            std::vector<double> p;
            for (const auto &parameter : d.parameters) p.push_back(parameter.standard.value_or(3.5) + 1.0);
            if (d.name == "integer") p[0] = 6.0;
            command::SourceOptions options;
            options.generator = generator;
            if (!has) {
                EXPECT_THROW(command::open_source(d, p, options), command::Failure) << d.name << generator;
                continue;
            }
            std::vector<double> x(40000);
            command::open_source(d, p, options)(x);
            const auto mean = d.mean(p), sd = d.deviation(p);
            if (!mean) continue;
            double sum = 0.0, squares = 0.0;
            for (const double v : x) sum += v;
            for (const double v : x) squares += (v - sum / 40000) * (v - sum / 40000);
            EXPECT_NEAR(sum / 40000, *mean, 5.0 * *sd / 200.0) << d.name << generator;
            EXPECT_NEAR(std::sqrt(squares / 39999) / *sd, 1.0, 0.03) << d.name << generator;
        }
}

TEST(RandomCommand, TheFormDoesNotChangeTheNumbers) {
    const std::string path = testing::TempDir() + "sarvo_random.npy";
    const std::string call = "random gamma 50 2.5 --seed 3 ";
    const Answer npy = sarvo(call + "--fingerprint --output " + path), tsv = sarvo(call + "--fingerprint");
    const Answer json = sarvo(call + "--format json --fingerprint");
    const auto mark = [](const Answer &a) {
        const size_t at = a.out.find("fingerprint") + 12;
        return a.out.substr(a.out.find_first_of("0123456789abcdef", at), 16);
    };
    EXPECT_EQ(command::read_vector(path).values, table(tsv).columns[0]);
    EXPECT_EQ(mark(npy), mark(tsv)) << npy.out;
    EXPECT_EQ(mark(npy), mark(json)) << json.out;
    std::remove(path.c_str());
}

TEST(RandomCommand, RefusesWhatMakesNoSense) {
    const struct {
        const char *arguments;
        int code;
        const char *message;
    } rows[] = {
        {"random nromal 3", 2, "there is no distribution 'nromal'. Did you mean 'normal'?"},
        {"random gamma 3", 2, "the parameter shape is missing"},
        {"random gamma 3 -1", 2, "shape must be greater than 0"},
        {"random integer 3 2.5", 2, "s must be an integer"},
        {"random normal 3 1 2 3", 2, "takes at most 2 parameters"},
        {"random cauchy 3", 2, "come from --generator kiss, xorshift or mwc"},
        {"random integer 3 6 --generator kiss", 2, "come from --generator mt"},
        {"random normal 3 x", 2, "'x' is not a finite number"},
        {"random normal 0", 2, "N"},
        {"random normal 3 --output x.txt", 2, "does not end in .npy"},
        {"random normal 3 --output /nowhere/x.npy", 4, "/nowhere/x.npy"},
    };
    for (const auto &row : rows) {
        const Answer answer = sarvo(row.arguments);
        EXPECT_EQ(answer.exit_code, row.code) << row.arguments << answer.err;
        EXPECT_NE(answer.err.find(row.message), std::string::npos) << row.arguments << answer.err;
    }
}

} // namespace
