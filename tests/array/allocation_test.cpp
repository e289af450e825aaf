// Every allocating operation on typed arrays, successes and refusals, under every failure of the allocator.
#include <sarvo/array.h>

#include <functional>

#include "array_support.h"

namespace {

using test::bytes;
using test::Matrix;
using test::numbered;
using test::Vector;
using Doubles = std::vector<double>;
using Ints = std::vector<int32_t>;

// Three operands and an output of each kind; the operation is given when the scenario is made.
struct Operands : test::AllocationScenario {
    Vector x{Doubles{1, 2, 3}}, y{Doubles{4, 5, 6}}, ints{Ints{1, 2, 3}}, v;
    Matrix a{2, 3, {1, 2, 3, 4, 5, 6}}, b{3, 2, {1, 2, 3, 4, 5, 6}}, m;
    Vector wide{19, 3};
    std::function<sarko_error_t(Operands &)> operation;

    sarko_error_t run() override { return operation(*this); }
    std::string inputs() const override {
        return bytes(x.v) + bytes(y.v) + bytes(ints.v) + bytes(a.m) + bytes(b.m) + bytes(wide.v);
    }
    std::string result() const override { return bytes(v.v) + bytes(m.m); }
};

using Run = std::function<sarko_error_t(Operands &)>;

struct Case {
    const char *name;
    Run prepare; // done before failures begin; may be empty
    Run operation;
};

const Run small_vector = [](Operands &o) { return sarvo_vector_alloc(&o.v.v, SARVO_DOUBLE, 0, 1); };
const Run int_vector = [](Operands &o) { return sarvo_vector_alloc(&o.v.v, SARVO_INT32, 0, 3); };
const Run small_matrix = [](Operands &o) { return sarvo_matrix_alloc(&o.m.m, SARVO_DOUBLE, 0, 1, 1); };
const Run int_matrix = [](Operands &o) { return sarvo_matrix_alloc(&o.m.m, SARVO_INT32, 0, 2, 3); };

const Case cases[] = {
    {"vector_alloc", {}, [](Operands &o) { return sarvo_vector_alloc(&o.v.v, SARVO_DOUBLE, 0, 5); }},
    {"vector_alloc refused", {}, [](Operands &o) { return sarvo_vector_alloc(&o.v.v, 25, 0, 5); }},
    {"vector_alloc overflow", {}, [](Operands &o) { return sarvo_vector_alloc(&o.v.v, 20, 0, UINT64_MAX); }},
    {"vector_realloc", small_vector, [](Operands &o) { return sarvo_vector_realloc(&o.v.v, SARVO_DOUBLE, 0, 9); }},
    {"vector_realloc dtype", int_vector, [](Operands &o) { return sarvo_vector_realloc(&o.v.v, SARVO_DOUBLE, 1, 9); }},
    {"vector_realloc overflow", small_vector,
     [](Operands &o) { return sarvo_vector_realloc(&o.v.v, 20, 0, 1ull << 62); }},
    {"vector_copy", {}, [](Operands &o) { return sarvo_vector_copy(o.x.v, 1, 0, &o.v.v, 2); }},
    {"vector_copy growing", small_vector, [](Operands &o) { return sarvo_vector_copy(o.x.v, 1, 0, &o.v.v, 2); }},
    {"vector_copy dtype", int_vector, [](Operands &o) { return sarvo_vector_copy(o.x.v, 0, 0, &o.v.v, 0); }},
    {"vector_copy refused", {}, [](Operands &o) { return sarvo_vector_copy(o.x.v, 4, 0, &o.v.v, 0); }},
    {"vector_copy unimplemented", {}, [](Operands &o) { return sarvo_vector_copy(o.wide.v, 0, 0, &o.v.v, 0); }},
    {"vector_zero null", {}, [](Operands &) { return sarvo_vector_zero(nullptr); }},
    {"matrix_alloc", {}, [](Operands &o) { return sarvo_matrix_alloc(&o.m.m, SARVO_DOUBLE, 0, 4, 5); }},
    {"matrix_alloc overflow",
     {},
     [](Operands &o) { return sarvo_matrix_alloc(&o.m.m, 20, 0, 1ull << 40, 1ull << 40); }},
    {"matrix_alloc unimplemented", {}, [](Operands &o) { return sarvo_matrix_alloc(&o.m.m, 19, 0, 2, 2); }},
    {"matrix_realloc", small_matrix, [](Operands &o) { return sarvo_matrix_realloc(&o.m.m, SARVO_DOUBLE, 0, 6, 7); }},
    {"matrix_realloc dtype", int_matrix,
     [](Operands &o) { return sarvo_matrix_realloc(&o.m.m, SARVO_DOUBLE, 1, 6, 7); }},
    {"matrix_realloc overflow", small_matrix,
     [](Operands &o) { return sarvo_matrix_realloc(&o.m.m, 20, 0, 1, 1ull << 62); }},
    {"matrix_copy", {}, [](Operands &o) { return sarvo_matrix_copy(o.a.m, 0, 1, 0, 0, &o.m.m, 1, 1); }},
    {"matrix_copy growing", small_matrix,
     [](Operands &o) { return sarvo_matrix_copy(o.a.m, 0, 0, 0, 0, &o.m.m, 0, 0); }},
    {"matrix_copy dtype", int_matrix, [](Operands &o) { return sarvo_matrix_copy(o.a.m, 0, 0, 0, 0, &o.m.m, 0, 0); }},
    {"matrix_copy refused", {}, [](Operands &o) { return sarvo_matrix_copy(o.a.m, 3, 0, 0, 0, &o.m.m, 0, 0); }},
    {"matrix_zero null", {}, [](Operands &) { return sarvo_matrix_zero(nullptr); }},
    {"matrix_ident null", {}, [](Operands &) { return sarvo_matrix_ident(nullptr); }},
    {"vv_inprod bounds",
     {},
     [](Operands &o) {
         double r;
         return sarvo_vv_inprod(o.x.v, o.y.v, 3, 0, 0, &r);
     }},
    {"vv_inprod dtype",
     {},
     [](Operands &o) {
         double r;
         return sarvo_vv_inprod(o.wide.v, o.y.v, 0, 0, 0, &r);
     }},
    {"vv_add", {}, [](Operands &o) { return sarvo_vv_add(o.x.v, o.y.v, &o.v.v); }},
    {"vv_add int", small_vector, [](Operands &o) { return sarvo_vv_add(o.ints.v, o.ints.v, &o.v.v); }},
    {"vv_add in situ", {}, [](Operands &o) { return sarvo_vv_add(o.x.v, o.ints.v, &o.ints.v); }},
    {"sv_mlt", {}, [](Operands &o) { return sarvo_sv_mlt(2, o.x.v, &o.v.v); }},
    {"sv_mlt zero", {}, [](Operands &o) { return sarvo_sv_mlt(0, o.x.v, &o.v.v); }},
    {"sv_mlt copy", int_vector, [](Operands &o) { return sarvo_sv_mlt(1, o.x.v, &o.v.v); }},
    {"sv_mlt unimplemented", {}, [](Operands &o) { return sarvo_sv_mlt(2, o.ints.v, &o.v.v); }},
    {"sv_add", small_vector, [](Operands &o) { return sarvo_sv_add(2, o.x.v, &o.v.v); }},
    {"vs_sub", small_vector, [](Operands &o) { return sarvo_vs_sub(2, o.x.v, &o.v.v); }},
    {"mm_mlt", {}, [](Operands &o) { return sarvo_mm_mlt(o.a.m, o.b.m, &o.m.m); }},
    {"mm_mlt growing", small_matrix, [](Operands &o) { return sarvo_mm_mlt(o.b.m, o.a.m, &o.m.m); }},
    {"mm_mlt size", {}, [](Operands &o) { return sarvo_mm_mlt(o.a.m, o.a.m, &o.m.m); }},
    {"sm_mlt", {}, [](Operands &o) { return sarvo_sm_mlt(2, o.a.m, &o.m.m); }},
    {"sm_mlt copy", int_matrix, [](Operands &o) { return sarvo_sm_mlt(1, o.a.m, &o.m.m); }},
    {"sm_mlt reshape", small_matrix, [](Operands &o) { return sarvo_sm_mlt(2, o.a.m, &o.m.m); }},
};

TEST(Allocation, EveryOperationSurvivesEveryFailure) {
    for (const Case &c : cases) {
        const uint64_t allocations = test::expect_survives_allocation_failures(c.name, [&] {
            auto scenario = std::make_unique<Operands>();
            scenario->operation = c.operation;
            if (c.prepare) test::expect_success(c.prepare(*scenario));
            return scenario;
        });
        EXPECT_GE(allocations, 1u) << c.name << " allocates nothing: it tests nothing here";
    }
}

// After a failed growth of an object it keeps its old shape and contents, unless it had to be made anew.
TEST(Allocation, FailedGrowthKeepsTheObject) {
    for (uint64_t k = 1; k <= 2; k++) {
        Vector x(Doubles{1, 2, 3});
        Matrix a = numbered(SARVO_DOUBLE, 2, 2);
        const std::string vector_before = bytes(x.v), matrix_before = bytes(a.m);
        test::memory::arm(1, true);
        const sarko_error_t e = sarvo_vector_realloc(&x.v, SARVO_DOUBLE, 1, 100);
        test::memory::disarm();
        EXPECT_EQ(sarko_error_clear(e), 0u);
        test::memory::arm(k, true); // the row pointers, then the block
        const sarko_error_t f = sarvo_matrix_realloc(&a.m, SARVO_DOUBLE, 1, 50, 60);
        EXPECT_TRUE(test::memory::disarm());
        EXPECT_NE(f, 0u);
        sarko_error_clear(f);
        EXPECT_EQ(bytes(x.v), vector_before);
        EXPECT_EQ(bytes(a.m), matrix_before);
        EXPECT_EQ(a.get(1, 1), 22.0) << "through the row pointers";
    }
}

} // namespace
