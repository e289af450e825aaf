// Dense matrices and lists in every form, known by their content.
#include <cmath>
#include <string>
#include <vector>

#include "data/matrix.h"
#include "errors.h"
#include "matrix_market.h"
#include "npy_support.h"
#include "test_support.h"

namespace {

using test::bytes_of;
using test::npy;
using test::npy_header;

const std::string market = "%%MatrixMarket matrix ";

TEST(Matrix, IsReadFromEveryForm) {
    const struct {
        std::string bytes, form;
        size_t rows, cols;
        std::vector<double> values, imaginary;
    } rows[] = {
        {"1,2,3\n4,5,6\n", "table", 2, 3, {1, 2, 3, 4, 5, 6}, {}},
        {"a b\n1 2\n", "table", 1, 2, {1, 2}, {}},
        {"%%MatrixMark a comment\n7\n", "table", 1, 1, {7}, {}},
        {market + "coordinate real symmetric\n2 2 2\n1 1 4\n2 1 5\n",
         "Matrix Market, coordinate real symmetric",
         2,
         2,
         {4, 5, 5, 0},
         {}},
        {"%%matrixmarket MATRIX Array Complex General\n2 1\n1 2\n3 4\n",
         "Matrix Market, array complex general",
         2,
         1,
         {1, 3},
         {2, 4}},
        {npy(npy_header("<f8", "(2, 2)", true), bytes_of<double>({1, 2, 3, 4})),
         "NumPy array, <f8",
         2,
         2,
         {1, 3, 2, 4},
         {}},
        {npy(npy_header("|u1", "(3,)"), "\1\2\3"), "NumPy array, |u1", 3, 1, {1, 2, 3}, {}},
        {npy(npy_header(">i2", "()"), "\1\2"), "NumPy array, >i2", 1, 1, {258}, {}},
        {npy(npy_header("<c16", "(1, 2)"), bytes_of<double>({1, 2, 3, 4})), "NumPy array, <c16", 1, 2, {1, 3}, {2, 4}},
    };
    for (const auto &row : rows) {
        const command::DenseInput A = command::parse_matrix(row.bytes, "data");
        EXPECT_EQ(A.source, "data");
        EXPECT_EQ(A.form, row.form);
        EXPECT_EQ(A.rows, row.rows) << row.form;
        EXPECT_EQ(A.cols, row.cols) << row.form;
        EXPECT_EQ(A.values, row.values) << row.form;
        EXPECT_EQ(A.imaginary, row.imaginary) << row.form;
    }
    EXPECT_EQ(command::parse_vector("1,2,3\n", "data").values, (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(command::parse_vector("1\n2\n", "data").values, (std::vector<double>{1, 2}));
}

TEST(Matrix, RefusesWhatIsNone) {
    const struct {
        std::string bytes, message;
    } rows[] = {
        {"", "data: there is no data"},
        {"a,b\n", "data: there is a header but no data"},
        {market + "array real general\n0 3\n", "data: a matrix of 0 x 3 has no numbers"},
        {market + "coordinate real general\n100000 100000 1\n1 1 1\n",
         "data: a dense matrix of 100000 x 100000 is too large, 268435456 numbers are the most"},
        {market + "coordinate real general\n2147483647 2147483647 0\n", "is too large"},
        {market + "array real general\n2147483647 2147483647\n1\n", "data: ends before element (2, 1)"},
        {market + "array real general\n0 2147483647\n", "data: a matrix of 0 x 2147483647 has no numbers"},
        {npy(npy_header("<f8", "(0, 18446744073709551615)"), ""),
         "data: a matrix of 0 x 18446744073709551615 has no numbers"},
        {npy(npy_header("<f4", "(1, 2)"), bytes_of<float>({1, HUGE_VALF})), "data: byte 74: the number is not finite"},
        {npy(npy_header("<c8", "(1,)"), bytes_of<float>({1, HUGE_VALF})), "the number is not finite"},
        {"\x93NUMPY?", "data: byte 7: the file ends in the header"},
    };
    for (const auto &row : rows) {
        try {
            command::parse_matrix(row.bytes, "data");
            ADD_FAILURE() << "was read: " << row.message;
        } catch (const command::Failure &e) {
            EXPECT_NE(std::string(e.what()).find(row.message), std::string::npos)
                << e.what() << ", not " << row.message;
            EXPECT_EQ(e.code(), command::exit_input);
        }
    }
    EXPECT_THROW(command::parse_vector("1,2\n3,4\n", "data"), command::Failure);
}

TEST(Matrix, OfTheCollectionIsWhatAnotherReaderFinds) {
    const auto collection = test::market_collection();
    if (collection.empty()) GTEST_SKIP() << "the reference data are not there";
    EXPECT_EQ(collection.size(), 20u);
    for (const test::MarketMatrix &file : collection) {
        const auto A = command::read_matrix(std::string(SARVO_SHARED_DATA) + "/matrix/" + file.name + ".mtx");
        ASSERT_EQ(A.rows, static_cast<size_t>(file.rows)) << file.name;
        ASSERT_EQ(A.cols, static_cast<size_t>(file.cols)) << file.name;
        std::vector<double> dense(A.rows * A.cols);
        for (const auto &e : file.entries)
            dense[static_cast<size_t>(e.i) * A.cols + static_cast<size_t>(e.j)] += e.value;
        test::expect_equal_bits(A.values.data(), dense.data(), dense.size(), file.name);
    }
}

} // namespace
