// Solving linear systems by the command: every method, what it tells, and the given matrices.
#include <algorithm>
#include <cmath>
#include <filesystem>

#include "command_support.h"
#include "data/matrix.h"
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
            for (const char *precond : {"auto", "none", "jacobi", "ich", "ilu", "ilut"}) {
                const std::string m = method, p = precond;
                const bool direct = m == "auto" || m == "chol" || m == "lu";
                const bool symmetric = m == "chol" || m == "cg" || m == "minres";
                if (direct ? p != "auto" : std::string(order) != "auto") continue;
                if ((m == "lsqr" && (p == "ich" || p == "ilu" || p == "ilut")) || (!symmetric && p == "ich") ||
                    (symmetric && p == "ilut"))
                    continue;
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

// How many entries a method leaves, and whether the solution is right.
int64_t factor_entries(const MarketMatrix &A, const command::SolveOptions &options) {
    const auto r = solve_system(A, std::nullopt, options, {});
    EXPECT_TRUE(r.converged);
    EXPECT_LE(r.backward_error, 4e-16);
    return r.factor_entries;
}

TEST(SolveSystem, LuOfASymmetricPatternHasNoMoreEntriesThanBothHalvesOfCholesky) {
    command::SolveOptions lu, chol;
    lu.method = "lu", chol.method = "chol";
    for (const int32_t k : {12, 40, 80}) {
        const int64_t halves = 2 * factor_entries(grid(k, 0.0), chol) - k * k;
        EXPECT_LE(factor_entries(grid(k, 0.0), lu), halves) << k;
        EXPECT_LE(factor_entries(grid(k, 0.3), lu), halves) << k; // pivots stay on the diagonal
    }
}

TEST(SolveSystem, FactorsByThresholdNeedFewerStepsThanThoseWithoutFill) {
    uint32_t before = 0;
    for (const char *precond : {"ilut", "ilu", "none"})
        for (const char *method : {"gmres", "bicgstab"}) {
            command::SolveOptions options;
            options.method = method, options.precond = precond;
            const uint32_t steps = solve_system(grid(60, 0.3), std::nullopt, options, {}).steps;
            if (std::string(method) != "gmres") continue;
            EXPECT_GT(steps, 2 * before) << precond;
            before = steps;
        }
}

// A pattern with rows and columns in a random order.
MarketMatrix shuffled(const MarketMatrix &A, uint64_t seed) {
    test::Random random(seed);
    std::vector<int32_t> rows(static_cast<size_t>(A.rows)), cols(rows.size());
    for (auto *order : {&rows, &cols}) {
        for (size_t i = 0; i < order->size(); i++) (*order)[i] = static_cast<int32_t>(i);
        for (size_t i = order->size(); i > 1; i--) std::swap((*order)[i - 1], (*order)[random.below(i)]);
    }
    MarketMatrix B = A;
    for (auto &entry : B.entries)
        entry.row = rows[static_cast<size_t>(entry.row)], entry.col = cols[static_cast<size_t>(entry.col)];
    const auto before = [](const auto &a, const auto &b) { return a.row != b.row ? a.row < b.row : a.col < b.col; };
    std::sort(B.entries.begin(), B.entries.end(), before);
    return B;
}

TEST(SolveSystem, LuFindsBlocksHoweverTheRowsAndColumnsCome) {
    // 30 cyclic blocks of order 4, each tied to the next by a full block above the diagonal.
    MarketMatrix A;
    A.rows = A.cols = 120;
    for (int32_t i = 0; i < 120; i++)
        for (int32_t j = 0; j < 120; j++) {
            const bool cycle = i / 4 == j / 4 && (j == i || j % 4 == (i + 1) % 4);
            if (cycle || j / 4 == i / 4 + 1) A.entries.push_back({i, j, 3.0 + (i * 7 + j * 3) % 5});
        }
    for (uint64_t seed = 1; seed <= 20; seed++) {
        const auto r = solve_system(shuffled(A, seed), std::nullopt, {}, {});
        EXPECT_EQ(r.method, "lu");
        EXPECT_EQ(r.blocks, 30) << seed;
        EXPECT_LE(r.factor_entries, 30 * (8 + 3) + 29 * 16) << seed; // nothing fills in beside the blocks
        EXPECT_LE(*r.error, 1e-8) << seed;
        EXPECT_LE(r.backward_error, 4e-16) << seed;
    }
}

TEST(SolveSystem, LuSolvesRandomSystemsOfAnyPattern) {
    test::Random random(5);
    int by_columns = 0, by_pattern = 0, singular = 0;
    for (int round = 0; round < 400; round++) {
        MarketMatrix A;
        A.rows = A.cols = 1 + static_cast<int32_t>(random.below(60));
        const double share = 0.02 + 0.2 * random.uniform();
        for (int32_t i = 0; i < A.rows; i++)
            for (int32_t j = 0; j < A.cols; j++)
                if (random.uniform() < share + (i == j && round % 2 ? 0.7 : 0.0))
                    A.entries.push_back({i, j, std::ldexp(random.uniform() - 0.5, static_cast<int>(random.below(20)))});
        command::SolveOptions options;
        options.method = "lu";
        try {
            const auto r = solve_system(A, std::nullopt, options, {});
            if (*r.condition < 1e15) {
                EXPECT_TRUE(r.converged) << round;
                EXPECT_LE(r.backward_error, 1e-15) << round;
            }
            by_columns += r.order == "amd of A'A";
            by_pattern += r.order == "amd";
            // The transposed solve, which the condition is estimated with, agrees with the dense estimate.
            command::DenseInput dense{"", "", static_cast<size_t>(A.rows), static_cast<size_t>(A.cols), {}, {}};
            dense.values.resize(dense.rows * dense.cols);
            for (const auto &entry : A.entries)
                dense.values[static_cast<size_t>(entry.row) * dense.cols + static_cast<size_t>(entry.col)] =
                    entry.value;
            const auto d = solve_dense_systems(dense, {}, options, {}).front();
            if (*r.condition < 1e10) {
                EXPECT_NEAR(*r.condition / *d.condition, 1.0, 1e-4) << round;
            }
        } catch (const command::Failure &failure) {
            EXPECT_NE(std::string(failure.what()).find("singular"), std::string::npos) << failure.what();
            singular++;
        }
    }
    EXPECT_GT(by_columns, 20);
    EXPECT_GT(by_pattern, 20);
    EXPECT_GT(singular, 20);
}

TEST(SolveSystem, LuMendsWhatSmallPivotsOnTheDiagonalSpoil) {
    // The diagonal has 0.002 of its column: acceptable at first, and the last column grows 500 times a step.
    MarketMatrix A;
    A.rows = A.cols = 40;
    for (int32_t i = 0; i < 40; i++)
        for (int32_t j = 0; j < 40; j++)
            A.entries.push_back({i, j, i == j ? 0.002 : j < i ? -1.0 : j == 39 ? 1.0 : 1e-30});
    command::SolveOptions spoilt;
    spoilt.threshold = 0.001;
    EXPECT_GT(*solve_system(A, std::nullopt, spoilt, {}).condition, 1e15); // of the factors, not of A
    const auto r = solve_system(A, std::nullopt, {}, {});
    EXPECT_TRUE(r.converged);
    EXPECT_NEAR(*r.condition, 116.7, 0.1);
    EXPECT_LE(r.backward_error, 1e-15);
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
    for (const char *text :
         {"Solved: factored.", "because                       symmetric positive definite", "\n  1        0.090909\n",
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
        {"solve - --method lsqr --precond ilut", spd, 2, "lsqr takes --precond none or jacobi"},
        {"solve - --method bicgstab --max-steps 1 --precond none", spd, 1, ""},
        {"solve - --method lu", "%%MatrixMarket matrix coordinate real general\n0 0 0\n", 0, ""},
        {"solve nowhere.mtx", "", 4, "nowhere.mtx: cannot be opened"},
        {"solve -", "1 2 x\n", 3, "standard input:1:5: 'x' is not a number"},
        {"solve - -", spd, 2, "only one of A and B can be standard input"},
    };
    for (const auto &row : rows) {
        const Answer answer = sarvo(row.arguments, row.input);
        EXPECT_EQ(answer.exit_code, row.code) << row.arguments << answer.out << answer.err;
        EXPECT_NE(answer.err.find(row.message), std::string::npos) << row.arguments << answer.err;
    }
}

// A file for the time of a test.
struct File {
    std::string path;
    File(const std::string &name, const std::string &text) : path(testing::TempDir() + "sarvo_solve_" + name) {
        std::ofstream(path) << text;
    }
    ~File() { std::remove(path.c_str()); }
};

TEST(SolveCommand, AnswersSeveralRightHandSidesWithAMatrix) {
    const File B("B.csv", "5,1,0\n4,0,1\n"), dense("A.csv", "1,2\n2,1\n"),
        sparse("A.mtx", "%%MatrixMarket matrix coordinate real symmetric\n2 2 3\n1 1 1\n2 1 2\n2 2 1\n");
    for (const auto &[path, method] : {std::pair{&dense.path, "auto"},
                                       {&dense.path, "svd"},
                                       {&dense.path, "gmres"},
                                       {&sparse.path, "auto"},
                                       {&sparse.path, "svd"},
                                       {&sparse.path, "minres"},
                                       {&sparse.path, "lsqr"}}) {
        const File X("X.csv", "");
        const Answer answer =
            sarvo("solve " + *path + " " + B.path + " --format json --method " + method + " --output " + X.path);
        EXPECT_EQ(answer.exit_code, 0) << method << answer.err;
        const auto found = command::read_matrix(X.path);
        ASSERT_EQ(found.values.size(), 6u);
        const double expected[] = {1, -1.0 / 3, 2.0 / 3, 2, 2.0 / 3, -1.0 / 3};
        for (size_t i = 0; i < 6; i++) EXPECT_NEAR(found.values[i], expected[i], 1e-9) << method << i;
        for (const char *text : {"\"x\": [", "\"column\": 3", "\"solved\": true"})
            EXPECT_NE(answer.out.find(text), std::string::npos) << text << answer.out;
    }
    for (const char *right : {"5,4\n", "5\n4\n", "5 4\n"}) { // one row counts as a column
        const File b("b.txt", right);
        EXPECT_NE(sarvo("solve " + dense.path + " " + b.path + " --format json").out.find("\"x\": [1, 2]"),
                  std::string::npos);
    }
    const Answer wrong = sarvo("solve - " + B.path, "1,2,3\n4,5,6\n7,8,10\n");
    EXPECT_EQ(wrong.exit_code, 3);
    EXPECT_NE(wrong.err.find("has 2 rows, the matrix 3 rows"), std::string::npos) << wrong.err;
}

TEST(SolveCommand, FindsLeastSquaresOfDenseMatrices) {
    const File b("ls.txt", "1\n2\n4\n");
    const Answer tall = sarvo("solve - " + b.path + " --format json", "1,0\n1,1\n1,2\n"); // y = 5/6 + 3/2 t
    EXPECT_NE(tall.out.find("\"method\": \"svd\""), std::string::npos) << tall.out;
    double y[2] = {};
    EXPECT_EQ(std::sscanf(tall.out.c_str() + tall.out.find("\"x\": ["), "\"x\": [%lf, %lf", y, y + 1), 2);
    EXPECT_NEAR(y[0], 5.0 / 6, 1e-14);
    EXPECT_NEAR(y[1], 1.5, 1e-14);
    const File c("short.txt", "6\n");
    const Answer wide = sarvo("solve - " + c.path + " --format json", "1,1,2\n"); // the shortest
    EXPECT_NE(wide.out.find("\"rank\": 1"), std::string::npos) << wide.out;
    const auto x = wide.out.find("\"x\": [");
    ASSERT_NE(x, std::string::npos);
    double v[3] = {};
    EXPECT_EQ(std::sscanf(wide.out.c_str() + x, "\"x\": [%lf, %lf, %lf", v, v + 1, v + 2), 3);
    EXPECT_NEAR(v[0], 1.0, 1e-14);
    EXPECT_NEAR(v[2], 2.0, 1e-14);
}

TEST(SolveCommand, WarnsOfAMatrixSingularToWorkingPrecision) {
    const std::string near = "1,1\n1,1.0000000000000002\n",
                      near_sparse = "%%MatrixMarket matrix array real general\n2 2\n1\n1\n1\n1.0000000000000002\n";
    for (const std::string &input : {near, near_sparse})
        for (const char *format : {"table", "json", "csv", "md"}) {
            const Answer answer = sarvo(std::string("solve - --method lu --format ") + format, input);
            EXPECT_NE(answer.out.find("the matrix is singular to working precision: of the 16 digits of x expect 0"),
                      std::string::npos)
                << format << answer.out << answer.err;
        }
    const Answer good = sarvo("solve - --format json", "2,1\n1,2\n");
    EXPECT_EQ(good.out.find("notes"), std::string::npos) << good.out;
    EXPECT_NE(good.out.find("\"digits\": 15.47"), std::string::npos) << good.out; // condition 3
}

TEST(SolveCommand, TellsNoErrorWhereOtherSolutionsExist) {
    const std::string wide = "%%MatrixMarket matrix coordinate real general\n1 2 2\n1 1 1\n1 2 3\n",
                      tall = "%%MatrixMarket matrix coordinate real general\n2 1 2\n1 1 1\n2 1 3\n";
    for (const char *method : {"lsqr", "svd"}) {
        const std::string call = std::string("solve - --format json --method ") + method;
        EXPECT_EQ(sarvo(call, wide).out.find("\"error\""), std::string::npos) << method;
        EXPECT_NE(sarvo(call, tall).out.find("\"error\""), std::string::npos) << method;
    }
    EXPECT_EQ(sarvo("solve - --format json --method svd", "1,2\n2,4\n").out.find("\"error\""), std::string::npos);
}

TEST(SolveCommand, JsonHasWhatTheTextTells) {
    const Answer direct = sarvo("solve - --method lu --format json", spd);
    for (const char *key : {"headline", "choice", "order", "factor_entries", "fill", "steps", "condition", "digits"})
        EXPECT_NE(direct.out.find(std::string("\"") + key + "\": "), std::string::npos) << key << direct.out;
    const Answer iterative = sarvo("solve - --method cg --format json", spd);
    for (const char *key : {"choice", "norm", "norms", "preconditioner"})
        EXPECT_NE(iterative.out.find(std::string("\"") + key + "\": "), std::string::npos) << key << iterative.out;
}

TEST(SolveCommand, ItsExamplesRun) {
    const std::filesystem::path folder = std::string(testing::TempDir()) + "sarvo_solve_examples";
    std::filesystem::create_directories(folder);
    const auto write = [&](const char *name, const std::string &text) { std::ofstream(folder / name) << text; };
    write("A.mtx", spd);
    write("b.mtx", "%%MatrixMarket matrix array real general\n2 1\n1\n2\n");
    write("A.csv", "2,1\n1,3\n");
    write("B.csv", "1,0\n0,1\n");
    EXPECT_EQ(run_examples("solve", folder.string()), 3);
    EXPECT_TRUE(std::filesystem::exists(folder / "X.npy"));
    std::filesystem::remove_all(folder);
}

} // namespace
