// The suite: one generator, the kernels in turn, and what they come to together.
#include <sarvo/scimark.h>

#include "core/fail.h"
#include "generator.h"

namespace sarvo::bench {
namespace {

constexpr int32_t seed = 101010, slots = 6;
constexpr double usual_time = 2.0;

// Runs kernels into their slots until one fails, and sums up in slot 0.
class Suite {
public:
    Suite(double *mflops, double *result, int64_t *cycles) : mflops_(mflops), result_(result), cycles_(cycles) {
        for (int32_t slot = 0; slot < slots; slot++) {
            mflops_[slot] = 0.0;
            result_[slot] = 0.0;
            cycles_[slot] = 0;
        }
    }

    // kernel(mflops, result, cycles)
    template <class Kernel> void run(int32_t slot, bool wanted, Kernel kernel) {
        if (!wanted || error_) return;
        error_ = kernel(mflops_ + slot, result_ + slot, cycles_ + slot);
        if (error_) return;
        mflops_[0] += mflops_[slot];
        result_[0] += result_[slot];
        cycles_[0] += cycles_[slot];
        kernels_++;
    }

    [[nodiscard]] sarko_error_t finish() {
        if (error_) return sarko_error_compose_create(error_, 0);
        if (kernels_ == 0) return 0;
        mflops_[0] /= kernels_;
        result_[0] /= kernels_;
        return 0;
    }

private:
    double *mflops_, *result_;
    int64_t *cycles_;
    int32_t kernels_ = 0;
    sarko_error_t error_ = 0;
};

} // namespace
} // namespace sarvo::bench

using namespace sarvo;
using namespace sarvo::bench;

extern "C" sarko_error_t sarvo_scimark_all(int32_t fft_size, int32_t sor_size, int32_t sparse_rows, int32_t sparse_nz,
                                           int32_t lu_size, int32_t monte_carlo, double min_time, double *mflops,
                                           double *result, int64_t *cycles) {
    constexpr const char *text = "SciMark error.";
    Suite suite(mflops, result, cycles);
    void *p = nullptr;
    if (sarko_error_t e = sarko_mem_malloc(sizeof(Random), &p)) return wrap(e, text);
    Random *const R = static_cast<Random *>(p);
    seed_generator(*R, seed);
    const double t = min_time == 0.0 ? usual_time : min_time;
    suite.run(1, fft_size != 0, [=](auto... out) { return kernel_measureFFT(fft_size, t, R, out...); });
    suite.run(2, sor_size != 0, [=](auto... out) { return kernel_measureSOR(sor_size, t, R, out...); });
    suite.run(3, monte_carlo != 0, [=](auto... out) { return kernel_measureMonteCarlo(t, R, out...); });
    suite.run(4, sparse_rows != 0 && sparse_nz != 0,
              [=](auto... out) { return kernel_measureSparseMatMult(sparse_rows, sparse_nz, t, R, out...); });
    suite.run(5, lu_size != 0, [=](auto... out) { return kernel_measureLU(lu_size, t, R, out...); });
    Random_delete(R);
    return wrap(suite.finish(), text);
}
