// The command as a process: exit codes, messages, the three formats, verbose output.
#include <array>
#include <cmath>

#include "command_support.h"
#include "numbers.h"
#include "test_support.h"

namespace {

using namespace test::cli;

const std::string misra = std::string(SARVO_EXAMPLE_DATA) + "/misra1a.csv";
const std::string fit_misra = "fit 'y ~ b1*(1-exp(-b2*x))' " + misra + " --start b1=500,b2=1e-4 ";

const std::string line = "x y w\n0 1.5 1\n1 2.5 1\n2 5.5 1\n3 6.5 1\n";

TEST(Command, ExitCodesTellWhatHappened) {
    const struct {
        const char *what;
        std::string arguments;
        const char *input;
        int code;
        const char *message; // on standard error
    } rows[] = {
        {"converged", fit_misra, "", 0, ""},
        {"limit reached", fit_misra + "--max-iterations 2", "", 1, ""},
        {"no subcommand", "", "", 2, "Usage"},
        {"unknown subcommand", "fti", "", 2, "there is no subcommand 'fti'. Did you mean 'fit'?"},
        {"far from any subcommand", "quux", "", 2, "there is no subcommand 'quux'.\n"},
        {"unknown option", fit_misra + "--verbos", "", 2, "there is no option '--verbos'. Did you mean '--verbose'?"},
        {"unknown option with a value", fit_misra + "--tolX=3", "", 2,
         "there is no option '--tolX'. Did you mean '--tolx'?"},
        {"missing start", "fit 'y ~ x' " + misra, "", 2, "--start is required"},
        {"bad start", "fit 'y ~ a*x' " + misra + " --start a=1x", "", 2, "this is not a number"},
        {"bad format", fit_misra + "--format xml", "", 2, "--format"},
        {"bad limit", fit_misra + "--max-iterations 0", "", 2, "--max-iterations"},
        {"bad formula", "fit 'y ~ a*' " + misra + " --start a=1", "", 2, "the expression ends too early"},
        {"unknown name", "fit 'y ~ a*presure' - --start a=1", "y,pressure\n1,2\n2,3\n", 2,
         "'presure' is neither a column nor a parameter. Did you mean 'pressure'?"},
        {"unused parameter", "fit 'y ~ a*x' " + misra + " --start a=1,b=2", "", 2, "parameter 'b' does not occur"},
        {"parameter named like a column", "fit 'y ~ x' " + misra + " --start x=1", "", 2, "is a column of"},
        {"two starts for one", "fit 'y ~ a*x' " + misra + " --start a=1 --start a=2", "", 2, "has two starts"},
        {"not finite at the start", "fit 'y ~ log(a)*x' " + misra + " --start a=-1", "", 2, "is not finite in row 1 ("},
        {"left side not finite", "fit 'log(c1) ~ a' - --start a=1", "1\n-1\n", 2,
         "the left side of the formula is not finite in row 2"},
        {"more parameters than rows", "fit 'c1 ~ a + b*c2 + p*c2^2' - --start a=1,b=1,p=1", "1 2\n3 4\n", 2,
         "3 parameters cannot be fitted to 2 rows"},
        {"unknown weights", "fit 'y ~ a' - --start a=1 --weights weihgt", "y,weight\n1,2\n2,3\n", 2,
         "there is no column 'weihgt' for the weights. Did you mean 'weight'?"},
        {"negative weight", "fit 'c1 ~ a' - --start a=1 --weights c2", "1 1\n2 -1\n", 2,
         "the weight is negative in row 2"},
        {"no such file", "fit 'y ~ a*x' nowhere.csv --start a=1", "", 4, "nowhere.csv: cannot be opened"},
        {"bad cell", "fit 'y ~ a*x' - --start a=1", "y,x\n1,2\n3,z\n", 3,
         "standard input:3:3: 'z' is not a number (column 'x')"},
        {"empty input", "fit 'y ~ a*x' - --start a=1", "", 3, "there is no data"},
    };
    for (const auto &row : rows) {
        const Answer answer = sarvo(row.arguments, row.input);
        EXPECT_EQ(answer.exit_code, row.code) << row.what << "\n" << answer.err;
        EXPECT_NE(answer.err.find(row.message), std::string::npos) << row.what << "\n" << answer.err;
        EXPECT_EQ(answer.out.empty(), row.code > 1) << row.what << "\n" << answer.out;
    }
}

TEST(Command, PrintsTheLastStateWhenItDoesNotConverge) {
    const Answer answer = sarvo(fit_misra + "--max-iterations 2");
    EXPECT_NE(answer.out.find("NOT CONVERGED after 2 iterations: the limit of 2 iterations was reached."),
              std::string::npos)
        << answer.out;
    EXPECT_NE(answer.out.find("b2"), std::string::npos);
}

// The value behind `"key": ` in a JSON text of ours, from `from` on.
double number_behind(const std::string &text, const std::string &key, size_t from = 0) {
    const size_t place = text.find("\"" + key + "\": ", from);
    if (place == std::string::npos) return NAN;
    const size_t begin = place + key.size() + 4;
    return command::parse_number(text.substr(begin, text.find_first_of(",}\n", begin) - begin)).value_or(NAN);
}

TEST(Command, FitsALineWithTheTextbookResult) {
    // Slope 9/5, intercept 13/10, residuals 0.2 -0.6 0.6 -0.2, sums of squares about the means 5 (x) and 17 (y).
    const Answer json = sarvo("fit 'y ~ a + b*x' - --start a=0,b=0 --format json", line);
    ASSERT_EQ(json.exit_code, 0) << json.err;
    const double variance = 0.8 / 2;
    const size_t second = json.out.find("\"b\"");
    EXPECT_NEAR(number_behind(json.out, "estimate"), 1.3, 1e-12);
    EXPECT_NEAR(number_behind(json.out, "estimate", second), 1.8, 1e-12);
    EXPECT_NEAR(number_behind(json.out, "standard_error"), std::sqrt(variance * (0.25 + 2.25 / 5)), 1e-12);
    EXPECT_NEAR(number_behind(json.out, "standard_error", second), std::sqrt(variance / 5), 1e-12);
    EXPECT_NEAR(number_behind(json.out, "chi_square"), 0.8, 1e-12);
    EXPECT_NEAR(number_behind(json.out, "residual_sd"), std::sqrt(variance), 1e-12);
    EXPECT_NEAR(number_behind(json.out, "r_squared"), 1 - 0.8 / 17, 1e-12);
    EXPECT_EQ(number_behind(json.out, "degrees_of_freedom"), 2.0);
}

TEST(Command, WeightsActLikeRepeatedRowsAndKnownVariancesAreNotScaled) {
    const std::string weighted = "x y w\n0 1.5 2\n1 2.5 1\n2 5.5 1\n3 6.5 3\n";
    const std::string repeated = "x y\n0 1.5\n0 1.5\n1 2.5\n2 5.5\n3 6.5\n3 6.5\n3 6.5\n";
    const std::string arguments = "fit 'y ~ a + b*x' - --start a=0,b=0 --known-variances --format json";
    const Answer one = sarvo(arguments + " --weights w", weighted);
    const Answer other = sarvo(arguments, repeated);
    for (const char *key : {"estimate", "standard_error", "chi_square"}) {
        EXPECT_NEAR(number_behind(one.out, key), number_behind(other.out, key), 1e-12) << key;
        EXPECT_TRUE(std::isfinite(number_behind(one.out, key))) << key;
    }
}

TEST(Command, FullPrecisionReadsBackToTheSameBitsInBothMachineFormats) {
    const Answer json = sarvo(fit_misra + "--format json");
    const Answer csv = sarvo(fit_misra + "--format csv");
    ASSERT_EQ(json.exit_code + csv.exit_code, 0);
    const size_t place = csv.out.find("\nb1,") + 4;
    const double estimate =
        command::parse_number(csv.out.substr(place, csv.out.find(',', place) - place)).value_or(NAN);
    EXPECT_EQ(test::bits(estimate), test::bits(number_behind(json.out, "estimate")));
    EXPECT_NEAR(estimate, 238.94212918, 1e-7); // certified
    EXPECT_EQ(command::parse_number(command::shortest(estimate)), estimate);
    EXPECT_NE(csv.out.find("\n# converged: 1\n"), std::string::npos);
    EXPECT_NE(csv.out.find("\n# correlation\nname,b1,b2\nb1,1,-0.99"), std::string::npos) << csv.out;
}

TEST(Command, PValuesAreThoseOfStudentsDistributionOrOfTheNormalOneWithKnownVariances) {
    // A line through five points; p by the closed form of the
    // distribution with 3 degrees of freedom, 1 - 2/pi (theta + sin theta cos theta), tan theta = t / sqrt 3.
    const std::string data = "x,y\n1,1.2\n2,1.9\n3,3.2\n4,3.8\n5,5.1\n",
                      arguments = "fit 'y ~ a + b*x' - --start a=1,b=1 --format json";
    const Answer student = sarvo(arguments, data);
    const double t = number_behind(student.out, "t"), theta = std::atan(std::fabs(t) / std::sqrt(3.0));
    const double expected = 1.0 - 2.0 / M_PI * (theta + std::sin(theta) * std::cos(theta));
    EXPECT_GT(expected, 0.1); // of a, which is nearly 0
    EXPECT_NEAR(number_behind(student.out, "p"), expected, 1e-14);
    const Answer normal = sarvo(arguments + " --weights x --known-variances", data);
    const double z = number_behind(normal.out, "t");
    EXPECT_NEAR(number_behind(normal.out, "p"), std::erfc(std::fabs(z) / std::sqrt(2.0)), 1e-14);
    const Answer table = sarvo("fit 'y ~ a + b*x' - --start a=1,b=1 --format table", data);
    EXPECT_NE(table.out.find("t         p\n"), std::string::npos) << table.out;
}

TEST(Command, VerbosePrintsALineForEachIteration) {
    const Answer answer = sarvo(fit_misra + "--verbose --max-iterations 5");
    EXPECT_NE(answer.err.find("chi square"), std::string::npos);
    EXPECT_EQ(std::count(answer.err.begin(), answer.err.end(), '\n'), 6);
}

// M. R. Osborne's (1972) sum of two exponentials: from a far start both rates run away.
TEST(Command, NeverCallsARunawayStateConverged) {
    const int thousandths[] = {844, 908, 932, 936, 925, 908, 881, 850, 818, 784, 751, 718, 685, 658, 628, 603, 580,
                               558, 538, 522, 506, 490, 478, 467, 457, 448, 438, 431, 424, 420, 414, 411, 406};
    std::string data = "x,y\n";
    for (int i = 0; i < 33; i++) data += std::to_string(10 * i) + ",0." + std::to_string(thousandths[i]) + "\n";
    const std::string model = "fit 'y ~ b1 + b2*exp(-x*b4) + b3*exp(-x*b5)' - --format json --start ";
    const Answer far = sarvo(model + "b1=50,b2=150,b3=-100,b4=1,b5=2", data);
    EXPECT_EQ(far.exit_code, 1) << far.out;
    EXPECT_NE(far.out.find("the data do not determine all parameters"), std::string::npos) << far.out;
    EXPECT_NE(far.out.find("b4"), std::string::npos);
    EXPECT_NE(far.out.find("Try another --start"), std::string::npos) << far.out;
    const Answer near = sarvo(model + "b1=0.5,b2=1.5,b3=-1,b4=0.01,b5=0.02", data);
    EXPECT_EQ(near.exit_code, 0) << near.out;
    EXPECT_NEAR(number_behind(near.out, "chi_square"), 5.46489469748e-5, 1e-14);
    // One parameter without any influence at its own scale.
    const Answer idle = sarvo("fit 'y ~ a + b*x + 1e-30*c*x^2' - --start a=1,b=1,c=1", line);
    EXPECT_EQ(idle.exit_code, 1) << idle.out;
    EXPECT_NE(idle.out.find(": c."), std::string::npos) << idle.out;
}

// Three exponentials without noise but the rounding of the data: chi square cannot show the last steps, and they are
// not needed.
TEST(Command, ConvergesWhereRoundingHidesTheRestOfTheDescent) {
    std::string data = "x,y\n";
    for (int i = 0; i < 24; i++) {
        const double x = 0.05 * i;
        char text[64];
        std::snprintf(text, sizeof text, "%.2f,%.12e\n", x,
                      0.0951 * std::exp(-x) + 0.8607 * std::exp(-3 * x) + 1.5576 * std::exp(-5 * x));
        data += text;
    }
    for (const char *start : {"b1=1.2,b2=0.3,b3=5.6,b4=5.5,b5=6.5,b6=7.6", "b1=0.5,b2=0.7,b3=3.6,b4=4.2,b5=4,b6=6.3"}) {
        const Answer answer = sarvo(
            std::string("fit 'y ~ b1*exp(-b2*x) + b3*exp(-b4*x) + b5*exp(-b6*x)' - --format json --start ") + start,
            data);
        EXPECT_EQ(answer.exit_code, 0) << answer.out;
        EXPECT_NEAR(number_behind(answer.out, "estimate"), 0.0951, 1e-10);
    }
}

TEST(Command, HelpIsAWordToo) {
    EXPECT_EQ(sarvo("help").out, sarvo("--help").out);
    EXPECT_EQ(sarvo("help fit").out, sarvo("fit --help").out);
    EXPECT_EQ(sarvo("help bench memory").out, sarvo("bench memory --help").out);
    EXPECT_EQ(sarvo("help").exit_code, 0);
    const Answer unknown = sarvo("help fti");
    EXPECT_EQ(unknown.exit_code, 2);
    EXPECT_NE(unknown.err.find("Did you mean 'fit'?"), std::string::npos) << unknown.err;
}

TEST(Command, SuggestsOnlyWhatIsNear) {
    for (const char *word : {"xyz", "plot", "mean", "lu"}) {
        const Answer answer = sarvo(word);
        EXPECT_EQ(answer.err.find("Did you mean"), std::string::npos) << answer.err;
    }
}

TEST(Command, SaysWhenTheDataDoNotDetermineTheParameters) {
    const Answer answer = sarvo("fit 'y ~ a + b + 0*x' - --start a=1,b=1", line);
    EXPECT_EQ(answer.exit_code, 1);
    EXPECT_NE(answer.out.find("the data do not determine all parameters (rank 1 of 2)"), std::string::npos)
        << answer.out << answer.err;
}

TEST(Command, HelpAndInfoTellWhatAPersonNeeds) {
    const Answer help = sarvo("--help"), fit_help = sarvo("fit --help"), info = sarvo("info"),
                 version = sarvo("--version");
    for (const Answer *a : {&help, &fit_help, &info, &version}) EXPECT_EQ(a->exit_code, 0);
    EXPECT_EQ(version.out, "sarvo 1.0.0\n");
    for (const char *text : {"Examples:", "fit", "info"}) EXPECT_NE(help.out.find(text), std::string::npos) << text;
    for (const char *text : {"--start", "--weights", "--tolx", "--verbose", "Exit codes:", "Examples:"})
        EXPECT_NE(fit_help.out.find(text), std::string::npos) << text;
    for (const char *text :
         {"kernels", "flags", "-ffp-contract=off", "2.220446049250313e-16", "1.7976931348623157e+308"})
        EXPECT_NE(info.out.find(text), std::string::npos) << text;
}

TEST(Command, VerifiesEveryKernelAndItsDigestIsThatOfEveryMachine) {
    const Answer answer = sarvo("info --verify");
    EXPECT_EQ(answer.exit_code, 0) << answer.out;
    EXPECT_NE(answer.out.find("\n# differing: 0\n# digest: 0ff7cabc262605aa\n"), std::string::npos) << answer.out;
}

TEST(Command, SaysThatTheResultCouldNotBeWritten) {
    if (!std::ifstream("/dev/full")) GTEST_SKIP() << "there is no /dev/full";
    const char *commands[] = {"--help",
                              "--version",
                              "stats --help",
                              "eval 1+1",
                              "stats -",
                              "manual",
                              "completion bash",
                              "random normal 5 --seed 1",
                              "dist student quantile 10 0.975",
                              "info",
                              "stats - --plot -"};
    for (const std::string command : commands) {
        const Answer answer = sarvo(command + " >/dev/full", "1\n2\n");
        EXPECT_EQ(answer.exit_code, 4) << command;
        EXPECT_EQ(answer.err, "sarvo: the result could not be written\n") << command;
    }
    const Answer file = sarvo("inv - --output /dev/full/x.csv", "1,2\n3,4\n");
    EXPECT_EQ(file.exit_code, 4) << file.err;
}

// A file gets its name when all of it is there: neither a failure nor a signal leaves a part of it.
TEST(Command, LeavesNoPartOfAFile) {
    const std::string folder = testing::TempDir() + "sarvo_output_" + std::to_string(getpid());
    const auto shell = [](const std::string &script) { return std::system(script.c_str()); };
    const auto files = [&] {
        shell("ls " + folder + " >" + folder + ".list");
        const std::string list = slurp(folder + ".list");
        std::remove((folder + ".list").c_str());
        return list;
    };
    ASSERT_EQ(shell("mkdir " + folder), 0);
    // Ended by a signal in the middle.
    const std::string path = folder + "/numbers.npy";
    shell("timeout -s INT 0.2 " SARVO_COMMAND_PATH " random normal 400000000 --seed 1 --output " + path +
          " 2>/dev/null");
    EXPECT_EQ(files(), "");
    // A file that is too large for the limit of the shell.
    const Answer limited = sarvo("inv - --output " + folder + "/inverse.csv", "2,1\n1,1\n");
    EXPECT_EQ(limited.exit_code, 0);
    EXPECT_EQ(files(), "inverse.csv\n");
    const std::string before = slurp(folder + "/inverse.csv");
    shell("(ulimit -f 1; " SARVO_COMMAND_PATH " random normal 100000 --seed 1 --output " + folder +
          "/inverse.csv) 2>/dev/null");
    EXPECT_EQ(files(), "inverse.csv\n");
    EXPECT_EQ(slurp(folder + "/inverse.csv"), before) << "what had the name stays";
    // A link stays a link.
    ASSERT_EQ(shell("ln -s inverse.csv " + folder + "/link.csv"), 0);
    EXPECT_EQ(sarvo("inv - --output " + folder + "/link.csv", "4,0\n0,4\n").exit_code, 0);
    EXPECT_EQ(slurp(folder + "/inverse.csv"), "0.25,0\n0,0.25\n");
    EXPECT_EQ(files(), "inverse.csv\nlink.csv\n");
    shell("rm -r " + folder);
}

} // namespace
