// Every allocating operation on dense objects, successes and refusals, under every failure of the allocator.
#include "mh_support.h"

namespace {

using namespace test::mh;

// Operands of every kind and an output of each; the operation is given when the scenario is made.
struct Operands : test::AllocationScenario {
    Mat A{3, 3, {4, 1, 2, 1, 5, 3, 2, 3, 6}}, B{3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 10}}, large{70, 70}, factored{70, 70},
        singular{2, 2}, out;
    Vec x{{1, 2, 3}}, y{{4, 5, 6}}, v, long_x{Doubles(4000, 1.5)}, sorted{{3, 1, 2}}, three{{1, 2, 3}},
        seventy{Doubles(70, 1.5)}, below{Doubles(69, 0.5)}, other{Doubles(70, 0.25)}, many{Doubles(5000, 1.0)},
        more{Doubles(5000, 2.0)};
    Perm p{{2, 0, 1}}, identity{{0, 1, 2}}, pivot{std::vector<uint32_t>(70)}, of_many{std::vector<uint32_t>(600)}, q;
    IVEC *iv = nullptr;
    I64VEC *i64v = nullptr;
    double number = 0.0;
    int32_t sign = 0;
    std::function<sarko_error_t(Operands &)> operation;

    Operands() {
        for (uint64_t i = 0; i < 70; i++)
            for (uint64_t j = 0; j < 70; j++)
                factored.p->row_ptrs[i][j] = large.p->row_ptrs[i][j] =
                    i == j ? 9.0 : 1.0 / static_cast<double>(1 + i + j);
        for (uint32_t i = 0; i < 600; i++) of_many.p->elems[i] = (i + 7) % 600;
        for (uint64_t i = 0; i < 5000; i++) many.p->elems[i] = static_cast<double>(i);
    }
    ~Operands() override {
        sarvo_mh_iv_free(iv);
        sarvo_mh_i64v_free(i64v);
    }
    sarko_error_t run() override { return operation(*this); }
    std::string inputs() const override {
        return bytes(A.p) + bytes(B.p) + bytes(large.p) + bytes(x.p) + bytes(y.p) + bytes(p.p) + bytes(of_many.p) +
               bytes(long_x.p);
    }
    std::string result() const override {
        return bytes(out.p) + bytes(factored.p) + bytes(sorted.p) + bytes(three.p) + bytes(seventy.p) + bytes(below.p) +
               bytes(many.p) + bytes(more.p) + bytes(v.p) + bytes(q.p) + test::bytes(&number, 8) +
               test::bytes(&sign, 4) + (iv ? test::bytes(iv->elems, iv->dim * 4) : "") +
               (i64v ? test::bytes(i64v->elems, i64v->dim * 8) : "");
    }
};

using Run = std::function<sarko_error_t(Operands &)>;

struct Case {
    const char *name;
    Run operation;
};

const Case cases[] = {
    {"m_get", [](Operands &o) { return sarvo_mh_m_get(2, 3, &o.out.p); }},
    {"v_get", [](Operands &o) { return sarvo_mh_v_get(2, &o.v.p); }},
    {"iv_get", [](Operands &o) { return sarvo_mh_iv_get(2, &o.iv); }},
    {"i64v_get", [](Operands &o) { return sarvo_mh_i64v_get(2, &o.i64v); }},
    {"px_get", [](Operands &o) { return sarvo_mh_px_get(2, &o.q.p); }},
    {"px_resize refused", [](Operands &o) { return sarvo_mh_px_resize(&o.q.p, -1); }},
    {"m_copy", [](Operands &o) { return sarvo_mh_m_copy_(o.A.p, &o.out.p, 0, 0); }},
    {"m_copy refused", [](Operands &o) { return sarvo_mh_m_copy_(nullptr, &o.out.p, 0, 0); }},
    {"v_copy", [](Operands &o) { return sarvo_mh_v_copy_(o.x.p, &o.v.p, 0); }},
    {"px_copy", [](Operands &o) { return sarvo_mh_px_copy(o.p.p, &o.q.p); }},
    {"m_move", [](Operands &o) { return sarvo_mh_m_move(o.A.p, 0, 0, 2, 2, &o.out.p, 1, 1); }},
    {"m_move refused", [](Operands &o) { return sarvo_mh_m_move(o.A.p, 0, 0, 4, 2, &o.out.p, 1, 1); }},
    {"v_move", [](Operands &o) { return sarvo_mh_v_move(o.x.p, 0, 2, &o.v.p, 1); }},
    {"mv_move", [](Operands &o) { return sarvo_mh_mv_move(o.A.p, 0, 0, 2, 2, &o.v.p, 1); }},
    {"vm_move", [](Operands &o) { return sarvo_mh_vm_move(o.x.p, 0, &o.out.p, 0, 0, 1, 3); }},
    {"m_add", [](Operands &o) { return sarvo_mh_m_add(o.A.p, o.B.p, &o.out.p); }},
    {"m_mlt", [](Operands &o) { return sarvo_mh_m_mlt(o.A.p, o.B.p, &o.out.p); }},
    {"m_mlt large", [](Operands &o) { return sarvo_mh_m_mlt(o.large.p, o.large.p, &o.out.p); }},
    {"mmtr_mlt large", [](Operands &o) { return sarvo_mh_mmtr_mlt(o.large.p, o.large.p, &o.out.p); }},
    {"mtrm_mlt large", [](Operands &o) { return sarvo_mh_mtrm_mlt(o.large.p, o.large.p, &o.out.p); }},
    {"m_mlt refused", [](Operands &o) { return sarvo_mh_m_mlt(o.A.p, o.large.p, &o.out.p); }},
    {"mv_mlt", [](Operands &o) { return sarvo_mh_mv_mlt(o.A.p, o.x.p, &o.v.p); }},
    {"vm_mlt", [](Operands &o) { return sarvo_mh_vm_mlt(o.A.p, o.x.p, &o.v.p); }},
    {"mv_mltadd", [](Operands &o) { return sarvo_mh_mv_mltadd(o.x.p, o.y.p, o.A.p, 2.0, &o.v.p); }},
    {"vm_mltadd", [](Operands &o) { return sarvo_mh_vm_mltadd(o.x.p, o.y.p, o.A.p, 2.0, &o.v.p); }},
    {"sm_mlt", [](Operands &o) { return sarvo_mh_sm_mlt(o.A.p, &o.out.p, 2.0); }},
    {"ms_mltadd", [](Operands &o) { return sarvo_mh_ms_mltadd(o.A.p, o.B.p, 0.0, &o.out.p); }},
    {"m_transp", [](Operands &o) { return sarvo_mh_m_transp(o.A.p, &o.out.p); }},
    {"v_add", [](Operands &o) { return sarvo_mh_v_add(o.x.p, o.y.p, &o.v.p); }},
    {"v_add refused", [](Operands &o) { return sarvo_mh_v_add(o.x.p, o.long_x.p, &o.v.p); }},
    {"v_slash", [](Operands &o) { return sarvo_mh_v_slash(o.x.p, o.y.p, &o.v.p); }},
    {"v_mltadd", [](Operands &o) { return sarvo_mh_v_mltadd(o.x.p, o.y.p, 2.0, &o.v.p); }},
    {"sv_mlt", [](Operands &o) { return sarvo_mh_sv_mlt(2.0, o.x.p, &o.v.p); }},
    {"sv_add", [](Operands &o) { return sarvo_mh_sv_add(2.0, o.x.p, &o.v.p); }},
    {"v_map", [](Operands &o) { return sarvo_mh_v_map([](double t) { return t; }, o.x.p, &o.v.p); }},
    {"v_lincomb",
     [](Operands &o) {
         VEC *both[] = {o.x.p, o.y.p};
         const double factors[] = {2.0, 3.0};
         return sarvo_mh_v_lincomb(2, both, factors, &o.v.p);
     }},
    {"v_linlist",
     [](Operands &o) { return sarvo_mh_v_linlist(&o.v.p, o.x.p, 2.0, o.y.p, 3.0, static_cast<VEC *>(nullptr)); }},
    {"in_prod refused", [](Operands &o) { return sarvo_mh_in_prod_(o.x.p, o.y.p, 4, &o.number); }},
    {"v_sort with order", [](Operands &o) { return sarvo_mh_v_sort(o.sorted.p, &o.q.p); }},
    {"px_inv", [](Operands &o) { return sarvo_mh_px_inv(o.p.p, &o.q.p); }},
    {"px_mlt", [](Operands &o) { return sarvo_mh_px_mlt(o.p.p, o.identity.p, &o.q.p); }},
    {"px_sign", [](Operands &o) { return sarvo_mh_px_sign(o.p.p, &o.sign); }},
    {"px_vec", [](Operands &o) { return sarvo_mh_px_vec(o.p.p, o.x.p, &o.v.p); }},
    {"pxinv_vec", [](Operands &o) { return sarvo_mh_pxinv_vec(o.p.p, o.x.p, &o.v.p); }},
    {"px_vec of many in place", [](Operands &o) { return sarvo_mh_px_vec(o.of_many.p, o.many.p, &o.many.p); }},
    {"pxinv_vec of many in place", [](Operands &o) { return sarvo_mh_pxinv_vec(o.of_many.p, o.many.p, &o.many.p); }},
    {"px_sign of many", [](Operands &o) { return sarvo_mh_px_sign(o.of_many.p, &o.sign); }},
    {"px_rows", [](Operands &o) { return sarvo_mh_px_rows(o.p.p, o.A.p, &o.out.p); }},
    {"px_cols", [](Operands &o) { return sarvo_mh_px_cols(o.p.p, o.A.p, &o.out.p); }},
    {"get_col", [](Operands &o) { return sarvo_mh_get_col(o.A.p, 1, &o.v.p); }},
    {"get_row", [](Operands &o) { return sarvo_mh_get_row(o.A.p, 1, &o.v.p); }},
    {"sub_mat", [](Operands &o) { return sarvo_mh_sub_mat(o.A.p, 0, 0, 1, 1, &o.out.p); }},
    {"LUfactor large", [](Operands &o) { return sarvo_mh_LUfactor(o.factored.p, o.pivot.p); }},
    {"LUsolve", [](Operands &o) { return sarvo_mh_LUsolve(o.A.p, o.identity.p, o.x.p, &o.v.p); }},
    {"LUTsolve", [](Operands &o) { return sarvo_mh_LUTsolve(o.A.p, o.identity.p, o.x.p, &o.v.p); }},
    {"Lsolve", [](Operands &o) { return sarvo_mh_Lsolve(o.A.p, o.x.p, &o.v.p, 0.0); }},
    {"UTsolve", [](Operands &o) { return sarvo_mh_UTsolve(o.A.p, o.x.p, &o.v.p, 0.0); }},
    {"Dsolve", [](Operands &o) { return sarvo_mh_Dsolve(o.A.p, o.x.p, &o.v.p); }},
    {"LUcondest", [](Operands &o) { return sarvo_mh_LUcondest(o.A.p, o.identity.p, &o.number); }},
    {"m_inverse", [](Operands &o) { return sarvo_mh_m_inverse(o.A.p, &o.out.p); }},
    {"m_inverse large", [](Operands &o) { return sarvo_mh_m_inverse(o.large.p, &o.out.p); }},
    {"m_pow", [](Operands &o) { return sarvo_mh_m_pow(o.A.p, -5, &o.out.p); }},
    {"m_exp", [](Operands &o) { return sarvo_mh_m_exp(o.A.p, 0.0, &o.out.p); }},
    {"m_exp refused", [](Operands &o) { return sarvo_mh_m_exp(o.A.p, -1.0, &o.out.p); }},
    {"m_poly", [](Operands &o) { return sarvo_mh_m_poly(o.A.p, o.long_x.p, &o.out.p); }},
    {"fft", [](Operands &o) { return sarvo_mh_fft(o.sorted.p, o.three.p); }},
    {"fft of many", [](Operands &o) { return sarvo_mh_fft(o.many.p, o.more.p); }},
    {"fft refused", [](Operands &o) { return sarvo_mh_fft(o.many.p, o.three.p); }},
    {"hhvec", [](Operands &o) { return sarvo_mh_hhvec(o.x.p, 0, &o.number, &o.v.p, &o.number); }},
    {"hhtrvec", [](Operands &o) { return sarvo_mh_hhtrvec(o.x.p, 0.5, 0, o.y.p, &o.v.p); }},
    {"hhtrcols", [](Operands &o) { return sarvo_mh_hhtrcols_(o.factored.p, 0, 0, o.seventy.p, 0.5, &o.v.p); }},
    {"hhtrcols stub", [](Operands &) { return sarvo_mh_hhtrcols(); }},
    {"Hfactor", [](Operands &o) { return sarvo_mh_Hfactor(o.factored.p, o.many.p, o.more.p); }},
    {"makeHQ", [](Operands &o) { return sarvo_mh_makeHQ(o.A.p, o.x.p, o.y.p, &o.out.p); }},
    {"makeHQ refused", [](Operands &o) { return sarvo_mh_makeHQ(o.large.p, o.x.p, o.y.p, &o.out.p); }},
    {"makeH", [](Operands &o) { return sarvo_mh_makeH(o.A.p, &o.out.p); }},
    {"rot_vec", [](Operands &o) { return sarvo_mh_rot_vec(o.x.p, 0, 1, 0.6, 0.8, &o.v.p); }},
    {"rot_rows", [](Operands &o) { return sarvo_mh_rot_rows(o.A.p, 0, 1, 0.6, 0.8, &o.out.p); }},
    {"rot_cols", [](Operands &o) { return sarvo_mh_rot_cols(o.A.p, 0, 1, 0.6, 0.8, &o.out.p); }},
    {"trieig", [](Operands &o) { return sarvo_mh_trieig(o.seventy.p, o.below.p, o.factored.p); }},
    {"symmeig", [](Operands &o) { return sarvo_mh_symmeig(o.large.p, &o.out.p, &o.v.p); }},
    {"symmeig refused", [](Operands &o) { return sarvo_mh_symmeig(nullptr, &o.out.p, &o.v.p); }},
    {"LDLupdate", [](Operands &o) { return sarvo_mh_LDLupdate(o.factored.p, o.seventy.p, 0.5); }},
    {"QRupdate", [](Operands &o) { return sarvo_mh_QRupdate(nullptr, o.factored.p, o.seventy.p, o.other.p); }},
    {"v_conv", [](Operands &o) { return sarvo_mh_v_conv(o.x.p, o.long_x.p, &o.v.p); }},
    {"v_pconv", [](Operands &o) { return sarvo_mh_v_pconv(o.long_x.p, o.x.p, &o.v.p); }},
    {"m_inverse singular", [](Operands &o) { return sarvo_mh_m_inverse(o.singular.p, &o.out.p); }},
};

TEST(AllocationFailures, LeaveInputsAloneAndLoseNothing) {
    uint64_t allocations = 0;
    for (const Case &c : cases)
        allocations += test::expect_survives_allocation_failures(c.name, [&] {
            auto operands = std::make_unique<Operands>();
            operands->operation = c.operation;
            return operands;
        });
    EXPECT_GE(allocations, 120u);
}

TEST(AllocationFailures, LeaveObjectsThatGrowInTheirOldShape) {
    Mat A(2, 2, {1, 2, 3, 4});
    Vec v({1, 2});
    Perm p({1, 0});
    const std::string before = bytes(A.p) + bytes(v.p) + bytes(p.p);
    for (uint64_t k = 1; k <= 2; k++) {
        test::memory::arm(k, true);
        const sarko_error_t e[] = {sarvo_mh_m_resize(&A.p, 3, 3), sarvo_mh_v_resize(&v.p, 9),
                                   sarvo_mh_px_resize(&p.p, 9)};
        test::memory::disarm();
        for (const sarko_error_t error : e) {
            EXPECT_NE(error, 0u);
            sarko_error_clear(error);
        }
        EXPECT_EQ(bytes(A.p) + bytes(v.p) + bytes(p.p), before);
    }
    test::expect_success(sarvo_mh_m_resize(&A.p, 3, 3));
    EXPECT_EQ(A.get(), (Doubles{1, 2, 0, 3, 4, 0, 0, 0, 0}));
}

} // namespace
