// Arithmetic on typed arrays against the literal loops, with special values, in place, and every refusal in its order.
#include <sarvo/array.h>

#include <math.h>

#include "array_support.h"

namespace {

using test::expect_equal_bits;
using test::expect_error;
using test::expect_success;
using test::Matrix;
using test::numbered;
using test::unimplemented;
using test::Vector;
using Doubles = std::vector<double>;
using Ints = std::vector<int32_t>;

constexpr uint64_t lengths[] = {0, 1, 2, 3, 7, 8, 9, 15, 16, 17, 31, 33, 64, 65, 100};

Doubles special_doubles(test::Random &random, uint64_t count) {
    Doubles out(count);
    for (double &x : out) x = random.special();
    return out;
}

Ints wide_ints(test::Random &random, uint64_t count) {
    Ints out(count);
    for (int32_t &x : out) {
        const int32_t small = static_cast<int32_t>(random.below(7)) - 3;
        x = random.below(4) ? static_cast<int32_t>(random.next()) : small;
    }
    return out;
}

int32_t wrapped(int64_t x) { return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(x))); }

const std::string null_text = "Input structure is not initialized";

// ---- Inner product ----

template <class X, class Y> double literal_inprod(const X &x, const Y &y, uint64_t dx, uint64_t dy, uint64_t count) {
    double sum = 0.0;
    for (uint64_t k = 0; k < count; k++) {
        if constexpr (std::is_same_v<X, Ints> && std::is_same_v<Y, Ints>)
            sum = sum + static_cast<double>(wrapped(int64_t{x[dx + k]} * y[dy + k]));
        else sum = sum + static_cast<double>(x[dx + k]) * static_cast<double>(y[dy + k]);
    }
    return sum;
}

template <class X, class Y> void expect_inprod(const X &x, const Y &y) {
    const Vector vx(x), vy(y);
    for (const uint64_t dx : {0u, 1u, 3u})
        for (const uint64_t dy : {0u, 2u})
            for (const uint64_t count : {0u, 1u, 5u}) {
                const uint64_t left_x = x.size() < dx ? 0 : x.size() - dx, left_y = y.size() < dy ? 0 : y.size() - dy;
                const uint64_t left = std::min(left_x, left_y);
                double result = -1.0;
                if (count ? count > left : left == 0) {
                    expect_error(sarvo_vv_inprod(vx.v, vy.v, dx, dy, count, &result), SarvoBoundsEC,
                                 {"Index out of bounds"});
                    EXPECT_EQ(result, -1.0);
                    continue;
                }
                const double expected = literal_inprod(x, y, dx, dy, count ? count : left);
                expect_success(sarvo_vv_inprod(vx.v, vy.v, dx, dy, count, &result));
                expect_equal_bits(&result, &expected, 1, "inner product of " + std::to_string(left));
            }
}

TEST(InnerProduct, EqualsTheLiteralSumForEveryPairOfIds) {
    test::Random random(1);
    for (const uint64_t n : lengths)
        for (const uint64_t m : {n, n + 3}) {
            const Doubles dx = special_doubles(random, n), dy = special_doubles(random, m);
            const Ints ix = wide_ints(random, n), iy = wide_ints(random, m);
            expect_inprod(dx, dy);
            expect_inprod(ix, dy);
            expect_inprod(dx, iy);
            expect_inprod(ix, iy);
        }
}

TEST(InnerProduct, NamedValues) {
    double result = -1;
    const Vector wide(Ints{65536}), five(Doubles{1, 2, 3, 4, 5}), ten(Doubles(10, 1.0));
    expect_success(sarvo_vv_inprod(wide.v, wide.v, 0, 0, 0, &result));
    EXPECT_EQ(result, 0.0) << "the 32-bit product wraps";
    expect_success(sarvo_vv_inprod(five.v, ten.v, 2, 0, 0, &result));
    EXPECT_EQ(result, 12.0);
    const Vector zeros(Doubles{-0.0}), one(Doubles{1.0});
    expect_success(sarvo_vv_inprod(zeros.v, one.v, 0, 0, 0, &result));
    EXPECT_EQ(test::bits(result), 0u) << "the sum starts from +0";
}

TEST(InnerProduct, RefusesInOrder) {
    const Vector five(Doubles{1, 2, 3, 4, 5}), ten(Doubles(10, 1.0)), bytes(1, 5), shorts(3, 5);
    double result = -1;
    expect_error(sarvo_vv_inprod(nullptr, ten.v, 99, 0, 0, &result), SarvoNullEC, {null_text});
    expect_error(sarvo_vv_inprod(five.v, nullptr, 99, 0, 0, &result), SarvoNullEC, {null_text});
    expect_error(sarvo_vv_inprod(five.v, ten.v, 99, 0, 0, nullptr), SarvoNullEC, {null_text});
    struct Case {
        uint64_t dx, dy, count;
    };
    for (const Case c : {Case{5, 0, 0},
                         {0, 10, 0},
                         {UINT64_MAX, 0, 0},
                         {0, 0, 6},
                         {3, 0, 3},
                         {0, 8, 3},
                         {1, 0, UINT64_MAX},
                         {UINT64_MAX, 0, 1},
                         {0, UINT64_MAX, 2},
                         {5, 0, UINT64_MAX - 4}})
        for (const Vector *x : {&five, &bytes}) // bounds are checked before ids
            expect_error(sarvo_vv_inprod(x->v, ten.v, c.dx, c.dy, c.count, &result), SarvoBoundsEC,
                         {"Index out of bounds"});
    EXPECT_EQ(result, -1.0);
    expect_error(sarvo_vv_inprod(bytes.v, shorts.v, 0, 0, 0, &result), SarvoDtypeEC, {unimplemented(1)});
    EXPECT_EQ(result, 0.0) << "set before the ids are looked at";
    result = -1;
    expect_error(sarvo_vv_inprod(five.v, shorts.v, 0, 0, 0, &result), SarvoDtypeEC, {unimplemented(3)});
    EXPECT_EQ(result, 0.0);
}

// ---- Sums ----

TEST(VectorSum, EqualsTheLiteralLoopForEveryPairOfIdsAndInPlace) {
    test::Random random(2);
    for (const uint64_t n : lengths) {
        const Doubles dx = special_doubles(random, n), dy = special_doubles(random, n);
        const Ints ix = wide_ints(random, n), iy = wide_ints(random, n);
        Doubles dd(n), id(n), di(n);
        Ints ii(n);
        for (uint64_t i = 0; i < n; i++) {
            dd[i] = dx[i] + dy[i];
            id[i] = static_cast<double>(ix[i]) + dy[i];
            di[i] = dx[i] + static_cast<double>(iy[i]);
            ii[i] = wrapped(int64_t{ix[i]} + iy[i]);
        }
        Vector x(dx), y(dy), xi(ix), yi(iy), out;
        expect_success(sarvo_vv_add(x.v, y.v, &out.v));
        expect_equal_bits(out.doubles().data(), dd.data(), n, "double + double");
        expect_success(sarvo_vv_add(xi.v, yi.v, &out.v)); // the double destination is made anew
        EXPECT_EQ(out.ints(), ii);
        expect_success(sarvo_vv_add(xi.v, y.v, &out.v));
        expect_equal_bits(out.doubles().data(), id.data(), n, "int + double");
        expect_success(sarvo_vv_add(x.v, yi.v, &out.v));
        expect_equal_bits(out.doubles().data(), di.data(), n, "double + int");
        expect_success(sarvo_vv_add(x.v, yi.v, &x.v));
        expect_equal_bits(x.doubles().data(), di.data(), n, "double + int in place");
        expect_success(sarvo_vv_add(yi.v, xi.v, &yi.v));
        EXPECT_EQ(yi.ints(), ii);
        expect_success(sarvo_vv_add(y.v, y.v, &y.v));
        for (double &value : dd) value = 0;
        for (uint64_t i = 0; i < n; i++) dd[i] = dy[i] + dy[i];
        expect_equal_bits(y.doubles().data(), dd.data(), n, "y + y in place");
    }
}

TEST(VectorSum, ResizesTheDestination) {
    const Vector x(Doubles{1, 2, 3});
    for (const uint64_t length : {0u, 2u, 9u}) {
        Vector out(SARVO_DOUBLE, length);
        expect_success(sarvo_vv_add(x.v, x.v, &out.v));
        EXPECT_EQ(out.doubles(), (Doubles{2, 4, 6}));
    }
}

TEST(VectorSum, RefusesInOrderAndLeavesTheDestination) {
    Vector x(Doubles{1, 2}), longer(Doubles{1, 2, 3}), ints(Ints{1, 2}), bytes(1, 2), shorts(3, 2), out(Doubles{9});
    expect_error(sarvo_vv_add(nullptr, x.v, &out.v), SarvoNullEC, {null_text});
    expect_error(sarvo_vv_add(x.v, nullptr, &out.v), SarvoNullEC, {null_text});
    expect_error(sarvo_vv_add(x.v, longer.v, nullptr), SarvoNullEC, {null_text});
    expect_error(sarvo_vv_add(bytes.v, longer.v, &out.v), SarvoSizeEC, {"Incorrect size"});
    expect_error(sarvo_vv_add(bytes.v, shorts.v, &out.v), SarvoDtypeEC, {unimplemented(1)});
    expect_error(sarvo_vv_add(ints.v, shorts.v, &out.v), SarvoDtypeEC, {unimplemented(3)});
    expect_error(sarvo_vv_add(ints.v, x.v, &ints.v), SarvoInsituEC, {"In situ error"});
    EXPECT_EQ(ints.ints(), (Ints{1, 2}));
    EXPECT_EQ(out.doubles(), (Doubles{9}));
}

// ---- Scalar with vector or matrix ----

using ScalarVector = sarko_error_t (*)(double, const sarvo_vector *, sarvo_vector **);

struct Operation {
    const char *name;
    ScalarVector run;
    double (*literal)(double s, double x);
    double copies; // the scalar that makes it a copy
};

const Operation operations[] = {
    {"sv_mlt", sarvo_sv_mlt, [](double s, double x) { return s * x; }, 1.0},
    {"sv_add", sarvo_sv_add, [](double s, double x) { return x + s; }, 0.0},
    {"vs_sub", sarvo_vs_sub, [](double s, double x) { return x - s; }, 0.0},
};

TEST(ScalarVectorOperations, EqualTheLiteralLoopsAndWorkInPlace) {
    test::Random random(3);
    for (const Operation &op : operations)
        for (const uint64_t n : lengths)
            for (const double s :
                 {2.5, -1.0, 1e308, -0x1p-1074, static_cast<double>(NAN), static_cast<double>(INFINITY)}) {
                const Doubles values = special_doubles(random, n);
                const Ints numbers = wide_ints(random, n);
                Doubles expected(n), from_ints(n);
                for (uint64_t i = 0; i < n; i++) {
                    expected[i] = op.literal(s, values[i]);
                    from_ints[i] = op.literal(s, static_cast<double>(numbers[i]));
                }
                Vector x(values), xi(numbers), out;
                expect_success(op.run(s, x.v, &out.v));
                expect_equal_bits(out.doubles().data(), expected.data(), n, op.name);
                expect_success(op.run(s, xi.v, &out.v)); // an existing double destination stays one
                expect_equal_bits(out.doubles().data(), from_ints.data(), n, op.name);
                expect_success(op.run(s, x.v, &x.v));
                expect_equal_bits(x.doubles().data(), expected.data(), n, op.name);
            }
}

TEST(ScalarVectorOperations, NeutralScalarsCopyWithTheId) {
    for (const Operation &op : operations)
        for (const double s : {op.copies, op.copies == 0 ? -0.0 : 1.0}) {
            Vector ints(Ints{1, -2}), doubles(Doubles{-0.0, NAN}), out;
            expect_success(op.run(s, ints.v, &out.v));
            EXPECT_EQ(out.ints(), (Ints{1, -2}));
            expect_success(op.run(s, doubles.v, &out.v));
            EXPECT_EQ(out.v->dtype, static_cast<uint32_t>(SARVO_DOUBLE)) << "same length, other id: copied with its id";
            expect_equal_bits(out.doubles().data(), doubles.doubles().data(), 2, op.name);
            const Vector bytes(1, 2);
            expect_error(op.run(s, bytes.v, &out.v), SarvoDtypeEC, {unimplemented(1)});
            EXPECT_EQ(out.v->dtype, 1u) << "the copy prepares its destination first";
        }
}

TEST(ScalarVectorOperations, MultiplyingByZeroZeroesWhateverTheIds) {
    for (const double s : {0.0, -0.0})
        for (uint32_t id = 1; id < SARVO_DTYPES; id++) {
            const Vector x(id, 3);
            memset(x.v->data, 0x55, 3 * SarvoDtype[id]);
            Vector fresh, doubles(Doubles{1, 2, 3, 4});
            expect_success(sarvo_sv_mlt(s, x.v, &fresh.v));
            EXPECT_EQ(fresh.v->dtype, id);
            EXPECT_EQ(test::bytes(fresh.v->data, 3 * SarvoDtype[id]), std::string(3 * SarvoDtype[id], '\0'));
            expect_success(sarvo_sv_mlt(s, x.v, &doubles.v));
            EXPECT_EQ(doubles.doubles(), (Doubles{0, 0, 0}));
        }
    Vector x(Doubles{NAN, INFINITY}), odd(Doubles{5, 6});
    odd.v->dtype = 25; // the error of zeroing is ignored
    expect_success(sarvo_sv_mlt(0.0, x.v, &odd.v));
    EXPECT_EQ(test::at(odd.v, 0), 5.0);
    odd.v->dtype = SARVO_DOUBLE;
}

TEST(ScalarVectorOperations, RefuseInOrder) {
    for (const Operation &op : operations) {
        Vector ints(Ints{1, 2}), doubles(Doubles{1, 2}), bytes(1, 2), out;
        expect_error(op.run(2.5, nullptr, &out.v), SarvoNullEC, {null_text});
        expect_error(op.run(2.5, ints.v, nullptr), SarvoNullEC, {null_text});
        expect_error(op.run(2.5, ints.v, &out.v), SarvoDtypeEC, {unimplemented(5)}); // created with x's id
        EXPECT_EQ(out.v->length, 2u);
        expect_error(op.run(2.5, ints.v, &ints.v), SarvoDtypeEC, {unimplemented(5)});
        EXPECT_EQ(ints.ints(), (Ints{1, 2}));
        expect_error(op.run(2.5, bytes.v, &ints.v), SarvoDtypeEC, {unimplemented(5)}); // the destination's id first
        expect_error(op.run(2.5, bytes.v, &doubles.v), SarvoDtypeEC, {unimplemented(1)});
        EXPECT_EQ(doubles.doubles(), (Doubles{1, 2}));
        Vector shorter(Ints{7}), invalid(Doubles{1}), fresh;
        expect_error(op.run(2.5, doubles.v, &shorter.v), SarvoDtypeEC, {unimplemented(5)}); // resized in its own id
        EXPECT_EQ(shorter.ints(), (Ints{7, 0}));
        invalid.v->dtype = 0;
        expect_error(op.run(2.5, invalid.v, &fresh.v), SarvoDtypeEC, {test::invalid(0)});
        invalid.v->dtype = SARVO_DOUBLE;
    }
}

TEST(ScalarMatrix, MultipliesEveryElementAndKeepsTheShortcuts) {
    test::Random random(4);
    for (const uint64_t rows : {1u, 3u, 8u})
        for (const uint64_t cols : {1u, 5u, 16u}) {
            const Doubles values = special_doubles(random, rows * cols);
            const Matrix a(rows, cols, values), ints = numbered(SARVO_INT32, rows, cols);
            Matrix out;
            Doubles expected(values);
            for (double &x : expected) x = x * -1.5;
            expect_success(sarvo_sm_mlt(-1.5, a.m, &out.m));
            expect_equal_bits(static_cast<double *>(out.m->data), expected.data(), rows * cols, "sm_mlt");
            expect_success(sarvo_sm_mlt(-1.5, ints.m, &out.m));
            EXPECT_EQ(out.get(rows - 1, cols - 1), -1.5 * ints.get(rows - 1, cols - 1));
            expect_success(sarvo_sm_mlt(1.0, ints.m, &out.m));
            EXPECT_EQ(test::bytes(out.m), test::bytes(ints.m));
            expect_success(sarvo_sm_mlt(-0.0, a.m, &out.m));
            EXPECT_EQ(out.m->dtype, static_cast<uint32_t>(SARVO_INT32)) << "same shape: kept with its id";
            EXPECT_EQ(out.get(rows - 1, cols - 1), 0.0);
        }
}

TEST(ScalarMatrix, ReshapesInTheDestinationsIdAndWorksInPlace) {
    Matrix a(2, 2, {1, 2, 3, 4}), larger(3, 3, Doubles(9, 1.0)), ints(SARVO_INT32, 1, 1);
    expect_success(sarvo_sm_mlt(2.0, a.m, &larger.m));
    EXPECT_EQ(test::bytes(larger.m), test::bytes(Matrix(2, 2, {2, 4, 6, 8}).m));
    expect_success(sarvo_sm_mlt(2.0, a.m, &a.m));
    EXPECT_EQ(test::bytes(larger.m), test::bytes(a.m));
    expect_error(sarvo_sm_mlt(2.0, a.m, &ints.m), SarvoDtypeEC, {unimplemented(5)});
    EXPECT_EQ(ints.m->rows, 2u);
}

TEST(ScalarMatrix, RefusesInOrder) {
    const Matrix ints = numbered(SARVO_INT32, 2, 2), other(19, 2, 0);
    Matrix out, empty(SARVO_DOUBLE, 2, 0);
    expect_error(sarvo_sm_mlt(2.0, nullptr, &out.m), SarvoNullEC, {null_text});
    expect_error(sarvo_sm_mlt(2.0, ints.m, nullptr), SarvoNullEC, {null_text});
    expect_error(sarvo_sm_mlt(2.0, ints.m, &out.m), SarvoDtypeEC, {unimplemented(5)});
    expect_error(sarvo_sm_mlt(2.0, other.m, &empty.m), SarvoDtypeEC, {unimplemented(19)});
    expect_error(sarvo_sm_mlt(1.0, other.m, &empty.m), SarvoDtypeEC, {unimplemented(19)});
    Matrix fresh;
    expect_error(sarvo_sm_mlt(2.0, other.m, &fresh.m), SarvoDtypeEC, {unimplemented(19)});
}

// ---- Matrix product ----

Doubles literal_product(uint64_t m, uint64_t k, uint64_t n, const Doubles &a, const Doubles &b) {
    Doubles c(m * n, 0.0);
    for (uint64_t i = 0; i < m; i++)
        for (uint64_t l = 0; l < k; l++) {
            if (a[i * k + l] == 0.0) continue;
            for (uint64_t j = 0; j < n; j++) c[i * n + j] = c[i * n + j] + a[i * k + l] * b[l * n + j];
        }
    return c;
}

TEST(MatrixProduct, EqualsTheLiteralLoopWithZerosAndNonFiniteValues) {
    test::Random random(5);
    struct Shape {
        uint64_t m, k, n;
    };
    for (const Shape s : {Shape{1, 1, 1},
                          {2, 3, 4},
                          {8, 8, 24},
                          {9, 7, 25},
                          {17, 33, 5},
                          {1, 40, 50},
                          {50, 40, 1},
                          {31, 100, 47},
                          {3, 0, 4},
                          {0, 3, 4},
                          {3, 4, 0},
                          {64, 400, 30}})
        for (const bool special : {false, true}) {
            Doubles a(s.m * s.k), b(s.k * s.n);
            for (Doubles *values : {&a, &b})
                for (double &x : *values) x = special ? random.special() : random.below(9) ? random.symmetric() : 0.0;
            const Doubles expected = literal_product(s.m, s.k, s.n, a, b);
            const Matrix left(s.m, s.k, a), right(s.k, s.n, b);
            Matrix out(2, 2, {NAN, NAN, NAN, NAN});
            expect_success(sarvo_mm_mlt(left.m, right.m, &out.m));
            ASSERT_EQ(out.m->rows, s.m);
            ASSERT_EQ(out.m->cols, s.n);
            expect_equal_bits(static_cast<double *>(out.m->data), expected.data(), s.m * s.n,
                              std::to_string(s.m) + " x " + std::to_string(s.k) + " x " + std::to_string(s.n));
        }
}

TEST(MatrixProduct, SkipsZerosOfTheLeftOperandButNotItsNaNs) {
    const Matrix left(1, 2, {-0.0, 1.0}), right(2, 1, {INFINITY, 3.0}), nan(1, 2, {NAN, 1.0});
    Matrix out;
    expect_success(sarvo_mm_mlt(left.m, right.m, &out.m));
    EXPECT_EQ(out.get(0, 0), 3.0);
    expect_success(sarvo_mm_mlt(nan.m, right.m, &out.m));
    EXPECT_TRUE(isnan(out.get(0, 0)));
}

TEST(MatrixProduct, IntsAreAcceptedAndNotComputed) {
    const Matrix ints = numbered(SARVO_INT32, 2, 2), doubles(2, 2, {1, 2, 3, 4});
    Matrix out(1, 1, Doubles{7});
    const std::string before = test::bytes(out.m);
    Matrix null;
    for (const auto &pair : {std::pair(&ints, &ints), std::pair(&ints, &doubles), std::pair(&doubles, &ints)}) {
        expect_success(sarvo_mm_mlt(pair.first->m, pair.second->m, &out.m));
        EXPECT_EQ(test::bytes(out.m), before);
        expect_success(sarvo_mm_mlt(pair.first->m, pair.second->m, &null.m));
        EXPECT_EQ(null.m, nullptr);
    }
}

TEST(MatrixProduct, RefusesInOrder) {
    Matrix a(2, 3, Doubles(6, 1.0)), b(3, 2, Doubles(6, 1.0)), out;
    const Matrix bytes(1, 0, 0), shorts(3, 0, 0), ints(SARVO_INT32, 0, 0), empty(SARVO_DOUBLE, 0, 0);
    expect_error(sarvo_mm_mlt(nullptr, a.m, &out.m), SarvoNullEC, {null_text});
    expect_error(sarvo_mm_mlt(a.m, nullptr, &out.m), SarvoNullEC, {null_text});
    expect_error(sarvo_mm_mlt(a.m, a.m, nullptr), SarvoNullEC, {null_text});
    expect_error(sarvo_mm_mlt(a.m, a.m, &a.m), SarvoSizeEC, {"Incorrect size"});
    expect_error(sarvo_mm_mlt(a.m, b.m, &a.m), SarvoInsituEC, {"In situ error"});
    expect_error(sarvo_mm_mlt(a.m, b.m, &b.m), SarvoInsituEC, {"In situ error"});
    Matrix same_bytes(1, 0, 0);
    expect_error(sarvo_mm_mlt(same_bytes.m, shorts.m, &same_bytes.m), SarvoInsituEC,
                 {"In situ error"}); // before the ids
    expect_error(sarvo_mm_mlt(bytes.m, shorts.m, &out.m), SarvoDtypeEC, {unimplemented(1)});
    expect_error(sarvo_mm_mlt(ints.m, shorts.m, &out.m), SarvoDtypeEC, {unimplemented(3)});
    expect_error(sarvo_mm_mlt(empty.m, bytes.m, &out.m), SarvoDtypeEC, {unimplemented(1)});
    EXPECT_EQ(out.m, nullptr);
    Matrix wide(SARVO_DOUBLE, 0, 0), tall(SARVO_DOUBLE, 0, 0);
    tall.m->rows = 1ull << 32; // shapes whose product would overflow, without elements
    wide.m->cols = 1ull << 33;
    expect_error(sarvo_mm_mlt(tall.m, wide.m, &out.m), SarvoOverflowEC,
                 {"Too large size for rows=4294967296 cols=8589934592"});
}

} // namespace
