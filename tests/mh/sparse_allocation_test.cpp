// Every allocating operation on sparse matrices, successes and refusals, under every failure of the allocator.
#include "mh/sparse/ilut.h"
#include "mh/sparse/lu.h"
#include "sparse_support.h"

namespace {

using namespace test::mh;

struct Operands : test::AllocationScenario {
    Sp A{4, 4, {4, 1, 0, 2, 1, 5, 3, 0, 0, 3, 6, 0, 2, 0, 0, 7}},
        B{4, 4, {0, 1, 2, 3, 0, 0, 5, 0, 7, 0, 0, 8, 0, 1, 0, 3}}, changed{3, 3, {1, 0, 2, 0, 3, 0, 0, 0, 0}}, out,
        more;
    Row r1{{0, 1.0}, {2, 2.0}, {5, 3.0}}, r2{{1, 4.0}, {5, 5.0}}, row_out, grown{{0, 1.0}};
    Sp factored{4, 4, {9, 0, 2, 3, 0, 8, 1, 0, 2, 1, 7, 0, 3, 0, 0, 9}}, indefinite{2, 2, {1, 2, 2, 1}};
    Perm px{{0, 1, 2, 3}}, order{{2, 0, 3, 1}}, new_order;
    Vec x{{1, 2, 3, 4}}, v;
    Mat D;
    std::function<sarko_error_t(Operands &)> operation;

    sarko_error_t run() override { return operation(*this); }
    std::string inputs() const override {
        return bytes(A.p) + bytes(B.p) + bytes(*r1.p) + bytes(*r2.p) + bytes(x.p) + bytes(order.p) +
               bytes(indefinite.p);
    }
    std::string result() const override {
        return bytes(changed.p) + bytes(out.p) + bytes(more.p) + (row_out.p ? bytes(*row_out.p) : "") +
               bytes(*grown.p) + bytes(v.p) + bytes(D.p) + bytes(factored.p) + bytes(px.p) + bytes(new_order.p);
    }
};

const struct {
    const char *name;
    std::function<sarko_error_t(Operands &)> operation;
} cases[] = {
    {"sp_get", [](Operands &o) { return sarvo_mh_sp_get(3, 4, 2, &o.out.p); }},
    {"sp_get refused", [](Operands &o) { return sarvo_mh_sp_get(-3, 4, 2, &o.out.p); }},
    {"sp_resize", [](Operands &o) { return sarvo_mh_sp_resize(&o.changed.p, 6, 7); }},
    {"sp_resize of null", [](Operands &o) { return sarvo_mh_sp_resize(&o.out.p, 2, 2); }},
    {"sp_set_val", [](Operands &o) { return sarvo_mh_sp_set_val(o.changed.p, 0, 1, 1.0); }},
    {"sp_set_val refused", [](Operands &o) { return sarvo_mh_sp_set_val(o.changed.p, 0, 9, 1.0); }},
    {"sp_compact refused", [](Operands &o) { return sarvo_mh_sp_compact(o.A.p, -1.0); }},
    {"sprow_get", [](Operands &o) { return sarvo_mh_sprow_get(3, &o.row_out.p); }},
    {"sprow_xpd", [](Operands &o) { return sarvo_mh_sprow_xpd(&o.row_out.p, 3); }},
    {"sprow_resize", [](Operands &o) { return sarvo_mh_sprow_resize(&o.grown.p, 30); }},
    {"sprow_set_val", [](Operands &o) { return sarvo_mh_sprow_set_val(o.grown.p, 3, 1.0); }},
    {"sprow_merge", [](Operands &o) { return sarvo_mh_sprow_merge(o.r1.p, o.r2.p, &o.row_out.p); }},
    {"sprow_add", [](Operands &o) { return sarvo_mh_sprow_add(o.r1.p, o.r2.p, 0, &o.grown.p); }},
    {"sprow_copy", [](Operands &o) { return sarvo_mh_sprow_copy(o.r1.p, &o.row_out.p); }},
    {"sprow_smlt", [](Operands &o) { return sarvo_mh_sprow_smlt(o.r1.p, 2.0, &o.row_out.p); }},
    {"sp_mv_mlt", [](Operands &o) { return sarvo_mh_sp_mv_mlt(o.A.p, o.x.p, &o.v.p); }},
    {"sp_vm_mlt refused", [](Operands &o) { return sarvo_mh_sp_vm_mlt(o.changed.p, o.x.p, &o.v.p); }},
    {"sp_m2dense", [](Operands &o) { return sarvo_mh_sp_m2dense(o.A.p, &o.D.p); }},
    {"sp_add", [](Operands &o) { return sarvo_mh_sp_add(o.A.p, o.B.p, &o.out.p); }},
    {"sp_add into another", [](Operands &o) { return sarvo_mh_sp_add(o.A.p, o.B.p, &o.changed.p); }},
    {"sp_add in situ", [](Operands &o) { return sarvo_mh_sp_add(o.A.p, o.B.p, &o.B.p); }},
    {"sp_smlt", [](Operands &o) { return sarvo_mh_sp_smlt(o.A.p, 2.0, &o.changed.p); }},
    {"sp_mlt", [](Operands &o) { return sarvo_mh_sp_mlt(o.A.p, o.B.p, &o.out.p); }},
    {"sp_mlt into another", [](Operands &o) { return sarvo_mh_sp_mlt(o.A.p, o.B.p, &o.changed.p); }},
    {"sp_copy", [](Operands &o) { return sarvo_mh_sp_copy(o.A.p, &o.out.p); }},
    {"sp_order by degree", [](Operands &o) { return sarvo_mh_sp_order(o.A.p, 2, &o.new_order.p); }},
    {"sp_order by band", [](Operands &o) { return sarvo_mh_sp_order(o.B.p, 1, &o.px.p); }},
    {"sp_permute", [](Operands &o) { return sarvo_mh_sp_permute(o.A.p, o.order.p, o.order.p, &o.out.p); }},
    {"sp_comp_AAT", [](Operands &o) { return sarvo_mh_sp_comp_AAT(o.A.p, &o.changed.p); }},
    {"spCHfactor", [](Operands &o) { return sarvo_mh_spCHfactor(o.factored.p); }},
    {"spCHfactor refused", [](Operands &o) { return sarvo_mh_spCHfactor(o.indefinite.p); }},
    {"spICHfactor", [](Operands &o) { return sarvo_mh_spICHfactor(o.factored.p); }},
    {"spCHsymb", [](Operands &o) { return sarvo_mh_spCHsymb(o.factored.p); }},
    {"spCHsolve", [](Operands &o) { return sarvo_mh_spCHsolve(o.A.p, o.x.p, &o.v.p); }},
    {"spLUfactor", [](Operands &o) { return sarvo_mh_spLUfactor(o.factored.p, o.px.p, 0.5); }},
    {"spLUfactor refused", [](Operands &o) { return sarvo_mh_spLUfactor(o.factored.p, o.px.p, 2.0); }},
    {"factorise_lu",
     [](Operands &o) {
         sarvo::mh::LuRows rows;
         sarvo::mh::LuChoice choice;
         choice.rule = sarvo::mh::PivotRule::diagonal_first;
         bool complete = false;
         return sarvo::mh::factorise_lu(*o.A.p, choice, rows, &complete);
     }},
    {"ilu_by_threshold", [](Operands &o) { return sarvo::mh::ilu_by_threshold(*o.A.p, 0.01, 1, &o.out.p); }},
    {"spILUfactor", [](Operands &o) { return sarvo_mh_spILUfactor(o.factored.p, 0.5); }},
    {"spLUsolve", [](Operands &o) { return sarvo_mh_spLUsolve(o.A.p, o.order.p, o.x.p, &o.v.p); }},
    {"spLUTsolve", [](Operands &o) { return sarvo_mh_spLUTsolve(o.A.p, o.order.p, o.x.p, &o.v.p); }},
    {"spLUsolve refused", [](Operands &o) { return sarvo_mh_spLUsolve(o.B.p, o.order.p, o.x.p, &o.v.p); }},
    {"sp_copy2", [](Operands &o) { return sarvo_mh_sp_copy2(o.A.p, &o.changed.p); }},
};

TEST(SparseAllocationFailures, LeaveInputsAloneAndLoseNothing) {
    uint64_t allocations = 0;
    for (const auto &c : cases)
        allocations += test::expect_survives_allocation_failures(c.name, [&c] {
            auto operands = std::make_unique<Operands>();
            operands->operation = c.operation;
            return operands;
        });
    EXPECT_GE(allocations, 200u);
}

// A failed operation leaves an existing result as it was, but for room in its rows.
TEST(SparseAllocationFailures, LeaveAnExistingResultAlone) {
    for (const auto &c : cases) {
        Operands o;
        o.operation = c.operation;
        const std::string before = o.result();
        test::memory::arm(2, true);
        const sarko_error_t e = o.run();
        const bool failed = test::memory::disarm() && e != 0;
        EXPECT_TRUE(!failed || o.result() == before) << c.name;
        sarko_error_clear(e);
    }
}

} // namespace
