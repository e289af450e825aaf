// Listings of typed vectors and matrices.
#include <sarvo/array.h>

#include <stdio.h>
#include <stdlib.h>

#include <functional>

#include "array_support.h"

namespace {

using test::Matrix;
using test::numbered;
using test::Vector;
using Doubles = std::vector<double>;
using Ints = std::vector<int32_t>;

std::string printed(const std::function<void(FILE *)> &print) {
    char *text = nullptr;
    size_t length = 0;
    FILE *stream = open_memstream(&text, &length);
    print(stream);
    fclose(stream);
    const std::string out(text, length);
    free(text);
    return out;
}

std::string printed(const Vector &x, const char *format, uint64_t per_line) {
    return printed([&](FILE *stream) { sarvo_vector_fprintf(x.v, stream, format, per_line); });
}

std::string printed(const Matrix &a, const char *format, uint32_t per_line) {
    return printed([&](FILE *stream) { sarvo_matrix_fprintf(a.m, stream, format, per_line); });
}

TEST(VectorPrint, DefaultFormats) {
    EXPECT_EQ(printed(Vector(Ints{1, -2, 300}), nullptr, 0), "  1 -2  300\n");
    EXPECT_EQ(printed(Vector(Doubles{1, -0.5}), nullptr, 0), "  1.000000e+00 -5.000000e-01\n");
}

TEST(VectorPrint, BreaksLinesAfterEachFullOneAndAtTheEnd) {
    struct Case {
        uint64_t length, per_line;
        const char *text;
    };
    const Case cases[] = {
        {7, 3, "0,1,2,\n3,4,5,\n6,\n"},
        {6, 3, "0,1,2,\n3,4,5,\n"},
        {1, 3, "0,\n"},
        {3, 1, "0,\n1,\n2,\n"},
        {7, 0, "0,1,2,3,4,\n5,6,\n"},
        {5, 0, "0,1,2,3,4,\n"},
        {2, UINT64_MAX, "0,1,\n"},
        {0, 3, ""},
    };
    for (const Case &c : cases) {
        Ints ints;
        Doubles doubles;
        for (uint64_t i = 0; i < c.length; i++) {
            ints.push_back(static_cast<int32_t>(i));
            doubles.push_back(static_cast<double>(i));
        }
        EXPECT_EQ(printed(Vector(ints), "%d,", c.per_line), c.text);
        EXPECT_EQ(printed(Vector(doubles), "%g,", c.per_line), c.text);
    }
}

TEST(MatrixPrint, EachRowBeginsANewLine) {
    const Matrix a = numbered(SARVO_INT32, 2, 3);
    EXPECT_EQ(printed(a, nullptr, 0), "  11  12  13\n  21  22  23\n");
    EXPECT_EQ(printed(a, "%d,", 2), "11,12,\n13,\n21,22,\n23,\n");
    EXPECT_EQ(printed(a, "%d,", 3), "11,12,13,\n21,22,23,\n");
    EXPECT_EQ(printed(a, "%d,", UINT32_MAX), "11,12,13,\n21,22,23,\n");
    EXPECT_EQ(printed(Matrix(1, 2, {1, -2}), nullptr, 0), "  1.000000e+00 -2.000000e+00\n");
}

TEST(Print, NothingForWhatHasNoPrintableElements) {
    Vector no_object, other(19, 3), emptied(Doubles{1, 2});
    test::expect_success(sarvo_vector_realloc(&emptied.v, SARVO_DOUBLE, 0, 0));
    for (const Vector *x : {&no_object, &other, &emptied}) EXPECT_EQ(printed(*x, nullptr, 0), "");
    Matrix no_matrix, no_rows(SARVO_DOUBLE, 0, 3), no_cols(SARVO_DOUBLE, 3, 0), shrunk = numbered(SARVO_DOUBLE, 2, 2);
    test::expect_success(sarvo_matrix_realloc(&shrunk.m, SARVO_DOUBLE, 0, 2, 0));
    for (const Matrix *a : {&no_matrix, &no_rows, &no_cols, &shrunk}) EXPECT_EQ(printed(*a, nullptr, 0), "");
    sarvo_vector_fprintf(other.v, nullptr, nullptr, 0); // no stream: nothing either
    sarvo_matrix_fprintf(shrunk.m, nullptr, nullptr, 0);
}

} // namespace
