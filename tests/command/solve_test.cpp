// Solving linear systems by the command: every method, what it tells, and the given matrices.
#include <cmath>
#include <filesystem>

#include "command_support.h"
#include "errors.h"
#include "solve/linear_system.h"
#include "test_support.h"

namespace {

using command::MarketMatrix;
using namespace test::cli;

// The five-point matrix of a k x k grid, with an asymmetry of the flow.
MarketMatrix grid(int32_t k, double flow) {
    MarketMatrix A;
    A.rows = A.cols = k * k;
    for (int32_t i = 0; i < k * k; i++) {
        const auto put = [&](bool inside, int32_t j, double x) {
            if (inside) A.entries.push_back({i, j, x});
        };
        put(i >= k, i - k, -1.0);
        put(i % k != 0, i - 1, -1.0 - flow);
        put(true, i, 4.0);
        put(i % k != k - 1, i + 1, -1.0 + flow);
        put(i < k * k - k, i + k, -1.0);
    }
    return A;
}

TEST(SolveSystem, ReachesTheSolutionByEveryMethodOrderAndPreconditioner) {
    for (const char *method : {"auto", "chol", "lu", "cg", "minres", "gmres", "bicgstab", "lsqr"})
        for (const char *order : {"auto", "natural", "rcm", "amd"})
            for (const char *precond : {"auto", "none", "jacobi", "ich", "ilu"}) {
                const std::string m = method, p = precond;
                const bool direct = m == "auto" || m == "chol" || m == "lu";
                const bool symmetric = m == "chol" || m == "cg" || m == "minres";
                if (direct ? p != "auto" : std::string(order) != "auto") continue;
                if ((m == "lsqr" && (p == "ich" || p == "ilu")) || (!symmetric && p == "ich")) continue;
                command::SolveOptions options;
                options.method = m, options.order = order, options.precond = p;
                const auto r = solve_system(grid(12, symmetric ? 0.0 : 0.3), std::nullopt, options, {});
                const std::string what = m + ", " + order + ", " + p;
                EXPECT_TRUE(r.converged) << what;
                EXPECT_LT(*r.error, direct ? 1e-13 : 1e-6) << what;
                EXPECT_LT(r.backward_error, direct ? 1e-16 * 4 : 1e-9) << what;
                EXPECT_EQ(direct, r.condition.has_value()) << what;
                EXPECT_EQ(r.history.size(), direct ? 0u : r.steps + 1u) << what;
            }
}

TEST(SolveSystem, ChoosesTheMethodAndKnowsTheCondition) {
    command::SolveOptions options;
    EXPECT_EQ(solve_system(grid(6, 0.0), std::nullopt, options, {}).method, "chol");
    EXPECT_EQ(solve_system(grid(6, 0.2), std::nullopt, options, {}).method, "lu");
    MarketMatrix A;
    A.rows = A.cols = 2;
    A.entries = {{0, 0, 1.0}, {0, 1, 2.0}, {1, 0, 2.0}, {1, 1, 1.0}}; // symmetric, indefinite
    const auto r = solve_system(A, std::vector<double>{5.0, 4.0}, options, {});
    EXPECT_EQ(r.method, "lu");
    EXPECT_EQ(r.x, (std::vector<double>{1.0, 2.0}));
    EXPECT_DOUBLE_EQ(*r.condition, 3.0);
    EXPECT_FALSE(r.error.has_value());
    A.entries = {{0, 0, 1.0}, {0, 1, 2.0}, {1, 0, 2.0}, {1, 1, 4.0}};
    EXPECT_THROW(solve_system(A, std::vector<double>{1.0, 1.0}, options, {}), command::Failure);
    options.method = "chol";
    A.entries = {{0, 0, 1.0}, {0, 1, 0.5}, {1, 0, 0.0}, {1, 1, 4.0}}; // only half of it is read
    EXPECT_FALSE(solve_system(A, std::vector<double>{1.0, 1.0}, options, {}).converged);
    A.rows = 3;
    EXPECT_THROW(solve_system(A, std::nullopt, options, {}), command::Failure);
    options.method = "auto";
    EXPECT_EQ(solve_system(A, std::nullopt, options, {}).method, "lsqr");
}

TEST(SolveSystem, SolvesTheGivenMatrices) {
    const std::filesystem::path folder = std::string(SARVO_SHARED_DATA) + "/matrix";
    if (!std::filesystem::exists(folder)) GTEST_SKIP() << "no reference data beside the checkout";
    int count = 0;
    for (const auto &file : std::filesystem::directory_iterator(folder)) {
        if (file.path().extension() != ".mtx") continue;
        const auto r = solve_system(command::read_market(file.path()), std::nullopt, {}, {});
        EXPECT_TRUE(r.converged) << file.path().filename();
        EXPECT_LE(r.backward_error, r.rows == r.cols ? 4e-16 : 1e-9) << file.path().filename();
        count++;
    }
    EXPECT_EQ(count, 20);
}

const std::string spd = "%%MatrixMarket matrix coordinate real symmetric\n2 2 3\n1 1 4\n2 1 1\n2 2 3\n";

TEST(SolveCommand, TellsWhatItDidInThreeForms) {
    const std::string right = testing::TempDir() + "sarvo_b.txt", out = testing::TempDir() + "sarvo_x.mtx";
    std::ofstream(right) << "# b\n1\n2\n";
    const Answer table = sarvo("solve - " + right + " --format table --digits 5 --output " + out, spd);
    EXPECT_EQ(table.exit_code, 0) << table.err;
    for (const char *text : {"Solved: factored.", "chol (symmetric positive definite)", "\n  1        0.090909\n",
                             "\n  2         0.63636\n", "backward error", "condition (1-norm, estimate)"})
        EXPECT_NE(table.out.find(text), std::string::npos) << text << table.out;
    EXPECT_EQ(slurp(out).compare(0, 49, "%%MatrixMarket matrix array real general\n2 1\n0.09"), 0) << slurp(out);

    const Answer again = sarvo("solve - " + out + " --method cg --history --format json", spd);
    EXPECT_EQ(again.exit_code, 0) << again.err;
    EXPECT_NE(again.err.find("    step  norm of the residual\n       1  "), std::string::npos) << again.err;
    for (const char *text :
         {"\"solved\": true", "\"method\": \"cg\"", "\"preconditioner\": \"ich\"", "\"x\": [-0.03305785123966"})
        EXPECT_NE(again.out.find(text), std::string::npos) << text << again.out;
    const Answer csv = sarvo("solve - " + right + " --method lu --format csv", spd);
    EXPECT_NE(csv.out.find("\nx\n0.0909090909090909"), std::string::npos) << csv.out;
    std::remove(right.c_str());
    std::remove(out.c_str());
}

TEST(SolveCommand, NamesTheNormThatFell) {
    const std::string diagonal =
        "%%MatrixMarket matrix coordinate real symmetric\n3 3 4\n1 1 100\n2 1 1\n2 2 2\n3 3 1\n";
    const struct {
        const char *arguments, *norm;
    } rows[] = {
        {"cg --precond ich", "residual"},
        {"cg --precond none", "residual"},
        {"gmres --precond ilu", "residual"},
        {"bicgstab --precond jacobi", "residual"},
        {"minres --precond none", "residual"},
        {"minres --precond jacobi", "residual in the norm of the preconditioner"},
        {"minres", "residual in the norm of the preconditioner"},
        {"lsqr --precond none", "gradient A'r"},
        {"lsqr --precond jacobi", "gradient A'r in the norm of the preconditioner"},
    };
    for (const auto &row : rows) {
        const std::string call = std::string("solve - --history --method ") + row.arguments, norm = row.norm;
        const Answer table = sarvo(call + " --format table", diagonal), json = sarvo(call + " --format json", diagonal);
        EXPECT_EQ(table.exit_code, 0) << row.arguments << table.err;
        EXPECT_EQ(table.out.rfind("Solved: the " + norm + " fell below 1e-10 of that of x = 0.\n", 0), 0u) << table.out;
        EXPECT_NE(json.out.find("\"norm\": \"" + norm + "\""), std::string::npos) << json.out;
        EXPECT_NE(json.err.find("    step  norm of the " + norm + "\n"), std::string::npos) << json.err;
    }
}

TEST(SolveCommand, GivesTheReasonThatTheLibraryHad) {
    const std::string indefinite =
        "%%MatrixMarket matrix coordinate real symmetric\n3 3 4\n1 1 1\n2 1 2\n2 2 1\n3 3 1\n";
    const std::string right = testing::TempDir() + "sarvo_indefinite_b.txt"; // of the negative eigenvalue
    std::ofstream(right) << "1\n-1\n0\n";
    const struct {
        const char *arguments, *out, *err;
    } rows[] = {
        {"--method cg --precond none", "NOT SOLVED: the matrix or preconditioner is not positive definite.", ""},
        {"--method cg --precond jacobi", "NOT SOLVED: the matrix or preconditioner is not positive definite.", ""},
        {"--method cg --precond ich", "", "sarvo: spICHfactor: Matrix not positive definite"},
        {"--method chol", "", "sarvo: the matrix is not positive definite: --method lu solves it"},
    };
    for (const auto &row : rows) {
        const Answer answer = sarvo("solve - " + right + " --format table " + row.arguments, indefinite);
        EXPECT_EQ(answer.exit_code, 1) << row.arguments;
        EXPECT_NE(answer.out.find(row.out), std::string::npos) << row.arguments << answer.out;
        EXPECT_NE(answer.err.find(row.err), std::string::npos) << row.arguments << answer.err;
    }
    std::remove(right.c_str());
}

TEST(SolveCommand, ExitCodesTellWhatHappened) {
    const std::string singular = "%%MatrixMarket matrix array real general\n2 2\n1\n2\n2\n4\n";
    const struct {
        std::string arguments, input;
        int code;
        const char *message;
    } rows[] = {
        {"solve", "", 2, "A is required"},
        {"solve - --method qr", spd, 2, "qr"},
        {"solve -", singular, 1, "the matrix is singular: a pivot is zero. --method lsqr"},
        {"solve - --method lsqr --precond ilu", spd, 2, "lsqr takes --precond none or jacobi"},
        {"solve - --method bicgstab --max-steps 1 --precond none", spd, 1, ""},
        {"solve nowhere.mtx", "", 4, "nowhere.mtx: cannot be opened"},
        {"solve -", "1 2 3\n", 3, "standard input:1:1: a Matrix Market file begins with"},
        {"solve - -", spd, 2, "only one of A and B can be standard input"},
    };
    for (const auto &row : rows) {
        const Answer answer = sarvo(row.arguments, row.input);
        EXPECT_EQ(answer.exit_code, row.code) << row.arguments << answer.out << answer.err;
        EXPECT_NE(answer.err.find(row.message), std::string::npos) << row.arguments << answer.err;
    }
}

} // namespace
