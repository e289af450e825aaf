// Formulas: values, exact derivatives, precedence, and errors that show the place.
#include <cmath>
#include <string>
#include <vector>

#include "data/table.h"
#include "errors.h"
#include "formula/parser.h"
#include "test_support.h"

namespace {

namespace formula = command::formula;

const std::vector<std::string> names = {"a", "b"};

command::Table one_row(double x) {
    command::Table t;
    t.source = "data";
    t.names = {"y", "x"};
    t.columns = {{0.0}, {x}};
    t.lines = {1};
    return t;
}

struct Value {
    double value;
    double gradient[2];
};

Value evaluate(const std::string &right, double a, double b, double x) {
    const command::Table table = one_row(x);
    const formula::Model model = formula::parse_model("y ~ " + right, table, names);
    formula::Tape::Work work = model.right.work(2);
    const double parameters[] = {a, b};
    Value v{};
    v.value = model.right.evaluate(table.columns, 0, parameters, v.gradient, work);
    EXPECT_EQ(test::bits(v.value), test::bits(model.right.evaluate(table.columns, 0, parameters, nullptr, work)))
        << right << ": value differs without the gradient";
    return v;
}

TEST(Formula, FollowsTheUsualPrecedence) {
    const struct {
        const char *text;
        double value;
    } rows[] = {
        {"1 + 2*3", 7},
        {"(1+2)*3", 9},
        {"[1+2]*3", 9},
        {"2 - 3 - 4", -5},
        {"8/4/2", 1},
        {"-x^2", -9},
        {"(-x)^2", 9},
        {"2^3^2", 512},
        {"2**3**2", 512},
        {"2^-1", 0.5},
        {"-2^-2", -0.25},
        {"2*-3", -6},
        {"--3", 3},
        {"+x", 3},
        {"1e2+.5", 100.5},
        {"x**2*2", 18},
        {"2^0.5^2", 1.189207115002721},
        {"pow(2, 10)", 1024},
        {"min(x, 2)", 2},
        {"max(x, 2)", 3},
        {"$2 + $1", 3},
        {"pi", 3.141592653589793},
        {"e^0", 1},
        {"1.5E-1", 0.15},
        {"atan2(1, 1)*4", 3.141592653589793},
        {"abs(-x)", 3},
        {"x^0", 1},
        {"x^-2", 1.0 / 9},
    };
    for (const auto &row : rows) EXPECT_DOUBLE_EQ(evaluate(row.text, 0, 0, 3).value, row.value) << row.text;
}

TEST(Formula, IntegerPowersAreProductsInAFixedOrder) {
    const double x = 1.1;
    EXPECT_EQ(evaluate("x^2", 0, 0, x).value, x * x);
    EXPECT_EQ(evaluate("x^3", 0, 0, x).value, (x * x) * x);
    EXPECT_EQ(evaluate("x^7", 0, 0, x).value, ((x * x * x) * (x * x * x)) * x);
    EXPECT_EQ(evaluate("x^-2", 0, 0, x).value, 1.0 / (x * x));
    EXPECT_EQ(evaluate("(-x)^3", 0, 0, x).value, -((x * x) * x));
    EXPECT_EQ(evaluate("0^0", 0, 0, x).value, 1.0);
}

// Central differences have an error of about h^2 f''' + eps f / h: near 1e-9 for these functions at h = 1e-5.
TEST(Formula, DerivativesAgreeWithDifferences) {
    const char *formulas[] = {
        "a*b",
        "a/b",
        "a - b*x",
        "-a",
        "a^b",
        "a^2",
        "a^-3",
        "2^b",
        "a^(b+x)",
        "a^1.5",
        "exp(-b*x)",
        "expm1(a*b)",
        "log(a)",
        "log2(a)",
        "log10(a+b)",
        "log1p(a)",
        "sqrt(a*b)",
        "cbrt(a)",
        "sin(a)",
        "cos(a*x)",
        "tan(b)",
        "asin(a/10)",
        "acos(b/10)",
        "atan(a)",
        "sinh(a)",
        "cosh(b)",
        "tanh(a/x)",
        "erf(b)",
        "erfc(a/2)",
        "abs(-a)",
        "min(a, b)",
        "max(a, b)",
        "atan2(a, b)",
        "atan2(x, b)",
        "a*(1-exp(-b*x))",
        "exp(-(x-a)^2/b^2)",
        "(a/b)*exp(-0.5*((x-a)/b)^2)",
        "a*(x^2+x*b)/(x^2+x*a+b)",
        "pow(a, 3)",
        "pow(x, b)",
        "a*a*a - b*b/a",
    };
    for (const std::string text : formulas)
        for (const auto &[a, b] : {std::pair{1.3, 0.7}, {2.25, 3.5}}) {
            const double h = 1e-5, x = 1.7;
            const Value v = evaluate(text, a, b, x);
            const double da = (evaluate(text, a + h, b, x).value - evaluate(text, a - h, b, x).value) / (2 * h);
            const double db = (evaluate(text, a, b + h, x).value - evaluate(text, a, b - h, x).value) / (2 * h);
            EXPECT_NEAR(v.gradient[0], da, 2e-8 * (1 + std::fabs(da))) << text;
            EXPECT_NEAR(v.gradient[1], db, 2e-8 * (1 + std::fabs(db))) << text;
        }
}

TEST(Formula, DerivativesOfPowersHoldAtZeroAndForNegativeBases) {
    EXPECT_EQ(evaluate("a^2", 0, 0, 1).gradient[0], 0.0);
    EXPECT_EQ(evaluate("a^1", 0, 0, 1).gradient[0], 1.0);
    EXPECT_EQ(evaluate("a^0", 0, 0, 1).gradient[0], 0.0);
    EXPECT_EQ(evaluate("a^3", -2, 0, 1).gradient[0], 12.0);
    EXPECT_EQ(evaluate("x^b", 0, 2, 0).value, 0.0); // 0^b: the derivative by b is the limit 0
    EXPECT_EQ(evaluate("x^b", 0, 2, 0).gradient[1], 0.0);
    EXPECT_TRUE(std::isnan(evaluate("a^0.5", -1, 0, 1).value));
}

TEST(Formula, LeftSideMayBeAnExpressionOfColumns) {
    const command::Table table = one_row(4.0);
    const formula::Model model = formula::parse_model("log(x)/2 ~ a + b", table, names);
    formula::Tape::Work work = model.left.work(0);
    EXPECT_EQ(model.left.evaluate(table.columns, 0, {}, nullptr, work), std::log(4.0) / 2);
    EXPECT_FALSE(model.left.uses_parameters());
    EXPECT_TRUE(model.right.uses_parameters());
}

// The message of the error and the column (from 0) of its caret.
std::pair<std::string, size_t> error_of(const std::string &text) {
    try {
        formula::parse_model(text, one_row(1.0), names);
    } catch (const command::Failure &e) {
        EXPECT_EQ(e.code(), command::exit_usage);
        const std::string message = e.what();
        const size_t last = message.rfind('\n');
        EXPECT_NE(message.find("\n  " + text + "\n"), std::string::npos) << message;
        return {message.substr(0, message.find('\n')), message.size() - last - 4};
    }
    return {"no error", 0};
}

TEST(FormulaErrors, NameTheFaultAndShowThePlace) {
    const struct {
        const char *text;
        const char *message;
        size_t caret;
    } rows[] = {
        {"y", "there is no '~'", 1},
        {"y ~", "an expression is missing here", 3},
        {" ~ a", "an expression is missing here", 1},
        {"y ~ a + * b", "'*' has no meaning here", 8},
        {"y ~ (a + b", "this is not closed", 4},
        {"y ~ (a + b]", "this ']' closes nothing", 10},
        {"y ~ a + b)", "this ')' closes nothing", 9},
        {"y ~ a b", "an operator is missing here", 6},
        {"y ~ a +", "the expression ends too early", 7},
        {"y ~ a ~ b", "a formula has one '~'", 6},
        {"y = a ~ b", "'=' is not an operator", 2},
        {"y ~ a + gama", "'gama' is neither a column nor a parameter.", 8},
        {"y ~ ex(a)", "there is no function 'ex'. Did you mean 'exp'?", 4},
        {"y ~ exp(a, b)", "'exp' takes one argument", 9},
        {"y ~ min(a)", "'min' takes two arguments", 9},
        {"y ~ exp(a", "the call of 'exp' is not closed", 9},
        {"y ~ $3 * a", "there is no column $3", 4},
        {"y ~ a + 1e999", "the number is out of range", 8},
        {"y ~ a + .", "this is not a number", 8},
        {"y ~ a # b", "'#' has no meaning here", 6},
        {"a ~ b", "'a' is neither a column nor a parameter.", 0}, // the left side has columns only
    };
    for (const auto &row : rows) {
        const auto [message, caret] = error_of(row.text);
        EXPECT_NE(message.find(row.message), std::string::npos) << row.text << ": " << message;
        EXPECT_EQ(caret, row.caret) << row.text;
    }
}

TEST(FormulaErrors, DeepAndLongFormulasAreRefused) {
    EXPECT_NE(error_of("y ~ " + std::string(5000, '(') + "a" + std::string(5000, ')')).first.find("nested too deeply"),
              std::string::npos);
    EXPECT_NE(error_of("y ~ " + std::string(5000, '-') + "a").first.find("nested too deeply"), std::string::npos);
    std::string powers = "y ~ a";
    for (int i = 0; i < 1000; i++) powers += "^a";
    EXPECT_NE(error_of(powers).first.find("nested too deeply"), std::string::npos);
    std::string longest = "y ~ a";
    for (int i = 0; i < 60000; i++) longest += "+a";
    EXPECT_NE(error_of(longest).first.find("too long"), std::string::npos);
}

TEST(FormulaErrors, OfManyAndStrangeNamesAreShort) {
    command::Table table;
    for (int c = 0; c < 1000; c++) table.names.push_back("c" + std::to_string(c));
    table.names[1] = "\x1b[2J";
    table.columns.resize(table.names.size());
    const std::string word(100000, 'c'); // no suggestion: comparing it with every name would take minutes
    try {
        formula::parse_model("c0 ~ " + word, table, {});
        ADD_FAILURE() << "was parsed";
    } catch (const command::Failure &e) {
        const std::string message = e.what();
        EXPECT_NE(message.find("Columns: c0 ?[2J c2 "), std::string::npos);
        EXPECT_NE(message.find(" c29 and more. A parameter needs a start"), std::string::npos);
        EXPECT_EQ(message.find("c30"), std::string::npos);
    }
}

} // namespace
