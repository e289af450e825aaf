// Matrix Market files: all layouts, fields and symmetries, and faults named by line and column.
#include <string>
#include <vector>

#include "command_support.h"
#include "data/market.h"
#include "errors.h"
#include "test_support.h"

namespace {

using Dense = std::vector<double>;

Dense dense(const command::MarketMatrix &A) {
    Dense all(static_cast<size_t>(A.rows) * static_cast<size_t>(A.cols));
    for (const auto &e : A.entries)
        all[static_cast<size_t>(e.row) * static_cast<size_t>(A.cols) + static_cast<size_t>(e.col)] += e.value;
    return all;
}

TEST(Market, ReadsEveryLayoutFieldAndSymmetry) {
    const std::string head = "%%MatrixMarket matrix ";
    const struct {
        const char *what;
        std::string text;
        size_t entries;
        Dense values; // of a 2 x 2 or 2 x 3 matrix
    } rows[] = {
        {"general", "coordinate real general\n2 3 3\n1 1 1.5\n2 3 -2e1\n1 2 3\n", 3, {1.5, 3, 0, 0, 0, -20}},
        {"comments, blanks and carriage returns",
         "coordinate integer general\r\n% one\r\n\r\n 2  2 1 \r\n%two\r\n2\t1 7\r\n",
         1,
         {0, 0, 7, 0}},
        {"capitals, no newline at the end", "Coordinate REAL General\n2 2 1\n2 2 7", 1, {0, 0, 0, 7}},
        {"pattern", "coordinate pattern general\n2 2 2\n1 1\n2 1\n", 2, {1, 0, 1, 0}},
        {"symmetric: the diagonal once", "coordinate real symmetric\n2 2 2\n1 1 4\n2 1 5\n", 3, {4, 5, 5, 0}},
        {"skew-symmetric", "coordinate real skew-symmetric\n2 2 1\n2 1 5\n", 2, {0, -5, 5, 0}},
        {"array by columns", "array real general\n2 3\n1\n2\n3\n4\n5\n6\n", 6, {1, 3, 5, 2, 4, 6}},
        {"symmetric array", "array real symmetric\n2 2\n1\n2\n3\n", 4, {1, 2, 2, 3}},
        {"skew-symmetric array", "array real skew-symmetric\n2 2\n2\n", 2, {0, -2, 2, 0}},
        {"entries that occur twice", "coordinate real general\n2 2 3\n2 2 1\n1 1 3\n2 2 10\n", 2, {3, 0, 0, 11}},
        {"stored zeros", "coordinate real general\n2 2 1\n1 1 0\n", 1, {0, 0, 0, 0}},
        {"nothing stored", "coordinate real general\n2 2 0\n", 0, {0, 0, 0, 0}},
    };
    for (const auto &row : rows) {
        const auto A = command::parse_market(head + row.text, "data");
        EXPECT_EQ(A.entries.size(), row.entries) << row.what;
        EXPECT_EQ(dense(A), row.values) << row.what;
    }
    EXPECT_EQ(command::parse_market(head + "array real general\n0 0\n", "data").rows, 0);
}

TEST(Market, ReadsComplexMatricesOfEverySymmetry) {
    const struct {
        const char *text;
        Dense values, imaginary; // 2 x 2
    } rows[] = {
        {"coordinate complex general\n2 2 1\n1 2 3 4\n", {0, 3, 0, 0}, {0, 4, 0, 0}},
        {"coordinate complex symmetric\n2 2 2\n1 2 3 4\n2 2 5 6\n", {0, 3, 3, 5}, {0, 4, 4, 6}},
        {"coordinate complex skew-symmetric\n2 2 1\n2 1 3 4\n", {0, -3, 3, 0}, {0, -4, 4, 0}},
        {"coordinate complex hermitian\n2 2 2\n2 1 3 4\n2 2 5 0\n", {0, 3, 3, 5}, {0, -4, 4, 0}},
        {"ARRAY Complex HERMITIAN\n2 2\n1 0\n3 4\n5 0\n", {1, 3, 3, 5}, {0, -4, 4, 0}},
        {"coordinate complex general\n2 2 2\n1 1 1 2\n1 1 10 20\n", {11, 0, 0, 0}, {22, 0, 0, 0}},
    };
    for (const auto &row : rows) {
        const auto A = command::parse_market(std::string("%%MatrixMarket Matrix ") + row.text, "data");
        Dense imaginary(4);
        for (const auto &e : A.entries) imaginary[static_cast<size_t>(e.row * 2 + e.col)] = e.imaginary;
        EXPECT_TRUE(A.complex);
        EXPECT_EQ(dense(A), row.values) << row.text;
        EXPECT_EQ(imaginary, row.imaginary) << row.text;
    }
    const auto answer =
        test::cli::sarvo("solve -", "%%MatrixMarket matrix coordinate complex general\n1 1 1\n1 1 2 3\n");
    EXPECT_EQ(answer.exit_code, command::exit_input);
    EXPECT_EQ(answer.err, "sarvo: standard input: the matrix is complex, only real systems are solved\n");
}

TEST(Market, NamesFaultsByLineAndColumn) {
    const std::string head = "%%MatrixMarket matrix coordinate real general\n";
    const struct {
        std::string text, message;
    } rows[] = {
        {"", "data: there is no data"},
        {"1 2 3\n", "data:1:1: a Matrix Market file begins with '%%MatrixMarket matrix'\n  1 2 3\n  ^"},
        {"%%MatrixMarket vector", "data:1:16: 'vector' is not a kind of object: matrix\n"},
        {"%%MatrixMarket matrix coordinate quaternion general\n",
         "data:1:34: 'quaternion' is not a field: real, integer, complex, pattern, double\n"},
        {"%%MatrixMarket matrix coordinate real hermitian\n", "data:1:39: a hermitian matrix is complex"},
        {"%%MatrixMarket matrix coordinate pattern skew-symmetric\n", "a pattern cannot be skew-symmetric"},
        {"%%MatrixMarket matrix coordinate complex hermitian\n1 1 1\n1 1 2 3\n",
         "data:3:7: the diagonal of a hermitian matrix is real"},
        {"%%MatrixMarket matrix coordinate complex general\n1 1 1\n1 1 2\n", "data:3:6: the value is missing"},
        {"%%MatrixMarket matrix coordinate real symmetric\n2 2 2\n2 1 5\n1 2 5\n",
         "data:4:3: a symmetric file has entries on one side of the diagonal, this is on the other"},
        {head + "1 1 2\n1 1 1e308\n1 1 1e308\n", "data: the entries (1, 1) add up to more than a double holds"},
        {"%%MatrixMarket matrix array pattern general\n2 2\n", "an array cannot be a pattern"},
        {"%%MatrixMarket matrix coordinate real\n", "the symmetry is missing: general"},
        {head, "data: the sizes are missing"},
        {head + "2 2\n", "data:2:4: the number of entries is missing\n  2 2\n     ^"},
        {head + "2 2.5 1\n", "data:2:3: '2.5' is not a number of columns"},
        {head + "2 3000000000 1\n", "number of columns 3000000000 is outside 0 .. 2147483647"},
        {head + "2 2 1 7\n", "data:2:7: '7' is one word too many"},
        {head + "2 2 1\n3 1 5\n", "data:3:1: row 3 is outside 1 .. 2\n  3 1 5\n  ^"},
        {head + "2 2 1\n1 0 5\n", "data:3:3: column 0 is outside 1 .. 2"},
        {head + "2 2 1\n1 1 five\n", "data:3:5: 'five' is not a number"},
        {head + "2 2 1\n1 1 inf\n", "data:3:5: 'inf' is not finite"},
        {head + "2 2 1\n1 1\n", "data:3:4: the value is missing"},
        {head + "2 2 2\n1 1 5\n", "data: ends after 1 of 2 entries"},
        {head + "2 2 1099511627776\n1 1 5\n",
         "data: ends after 1 of 1099511627776 entries"}, // no room is made for them
        {head + "2 2 1\n1 1 5\n% c\n2 2 5\n", "data:5:1: there are more entries than announced"},
        {"%%MatrixMarket matrix array real general\n2 2\n1\n2\n3\n", "data: ends before element (2, 2)"},
        {"%%MatrixMarket matrix coordinate real symmetric\n2 3 1\n", "a symmetric matrix must be square"},
        {"%%MatrixMarket matrix coordinate real skew-symmetric\n2 2 1\n1 1 5\n", "has no diagonal"},
    };
    for (const auto &row : rows) {
        try {
            command::parse_market(row.text, "data");
            ADD_FAILURE() << row.text;
        } catch (const command::Failure &e) {
            EXPECT_NE(std::string(e.what()).find(row.message), std::string::npos) << row.text << e.what();
            EXPECT_EQ(e.code(), command::exit_input);
        }
    }
}

} // namespace
