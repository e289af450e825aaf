// When the error object itself cannot be had: still an error, nothing lost, and the same result on a retry.
#include <sarvo/specfunc.h>

#include "test_support.h"

namespace {

using Operation = sarko_error_t (*)(double *out);

class Scenario : public test::AllocationScenario {
public:
    explicit Scenario(Operation operation) : operation_(operation) {}
    sarko_error_t run() override { return operation_(out_); }
    std::string result() const override { return test::bytes(out_, sizeof out_); }

private:
    Operation operation_;
    double out_[3] = {1.0, 2.0, 3.0};
};

TEST(SpecialFunctionAllocation, EveryErrorSurvivesAFailingAllocator) {
    const struct {
        const char *name;
        Operation operation;
        bool fails;
    } operations[] = {
        {"lngamma", [](double *o) { return sarvo_lngamma_f(o, o + 1, o + 2, -3.0); }, true},
        {"lngamma, roundoff", [](double *o) { return sarvo_lngamma_f(o, o + 1, o + 2, -1e15); }, true},
        {"lngamma_sgn_sing", [](double *o) { return lngamma_sgn_sing(4, 0.0, o, o + 1, o + 2); }, true},
        {"gamma", [](double *o) { return sarvo_gamma_f(o, o + 1, 200.0); }, true},
        {"gamma, underflow", [](double *o) { return sarvo_gamma_f(o, o + 1, -300.5); }, true},
        {"gamma_xgthalf", [](double *o) { return gamma_xgthalf(o, o + 1, 200.0); }, true},
        {"exp_mult", [](double *o) { return sarvo_exp_mult_err_e(o, o + 1, 1e4, 0.0, 1.0, 0.0); }, true},
        {"psi_int", [](double *o) { return sarvo_psi_int_e(0, o, o + 1); }, true},
        {"psi1_int", [](double *o) { return sarvo_psi1_int_e(0, o, o + 1); }, true},
        {"psi", [](double *o) { return sarvo_psi_e(0.0, o, o + 1); }, true},
        {"psi1", [](double *o) { return sarvo_psi1_e(-1.0, o, o + 1); }, true},
        {"psin", [](double *o) { return sarvo_psin_e(2, -1.0, o, o + 1); }, true},
        {"psi_n_xg0", [](double *o) { return psi_n_xg0(2, 1e-150, o, o + 1); }, true},
        {"hzeta", [](double *o) { return sarvo_hzeta_e(1.0, 1.0, o, o + 1); }, true},
        {"lnfact", [](double *o) { return sarvo_lnfact_f(500, o, o + 1); }, false},
    };
    for (const auto &operation : operations)
        EXPECT_EQ(test::expect_survives_allocation_failures(
                      operation.name, [&] { return std::make_unique<Scenario>(operation.operation); }) > 0,
                  operation.fails)
            << operation.name;
}

} // namespace
