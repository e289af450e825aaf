// Random fills: the draws of the generators one by one, whatever the size and shape.
#include <sarvo/nr.h>
#include <sarvo/rng.h>

#include "mh_support.h"

namespace {

using namespace test::mh;
using test::expect_success;

TEST(RandomFills, AreTheSingleDrawsInOrder) {
    for (const int32_t selector : {1, 2, 3})
        for (const uint64_t n : {0u, 1u, 7u, 40u, 625u, 2000u}) {
            sarvo_rng_t *twister = nullptr, *twister_too = nullptr;
            sarvo_nr_rng_t *classic = nullptr, *classic_too = nullptr;
            for (sarvo_rng_t **r : {&twister, &twister_too}) expect_success(sarvo_rng_init(r, 1, n + 1));
            for (sarvo_nr_rng_t **r : {&classic, &classic_too}) expect_success(sarvo_nr_rng_init(r, 0, n + 1));
            void *rng = selector == 2 ? static_cast<void *>(classic) : twister;
            const auto draw = [&] {
                return selector == 3   ? 9.0
                       : selector == 2 ? sarvo_nr_rng_double(classic_too)
                                       : sarvo_rng_uniform(twister_too);
            };
            Vec v(Doubles(n, 9.0));
            Mat A(3, n, Doubles(3 * n, 9.0)), parent(3, n + 2, Doubles(3 * n + 6, 9.0)), view;
            Doubles list(n + 1, 9.0), expected_v, expected_A, expected_list, expected_view;
            for (uint64_t i = 0; i < n; i++) expected_v.push_back(draw());
            for (uint64_t i = 0; i < 3 * n; i++) expected_A.push_back(draw());
            for (uint64_t i = 0; i < n; i++) expected_list.push_back(draw());
            expected_list.push_back(9.0);
            sarvo_mh_v_rand(v.p, selector, rng);
            sarvo_mh_m_rand(A.p, selector, rng);
            mrandlist(selector, rng, list.data(), n);
            const std::string what = std::to_string(n) + " draws, selector " + std::to_string(selector);
            expect_bits(v.get(), expected_v, what);
            expect_bits(A.get(), expected_A, what);
            expect_bits(list, expected_list, what);
            if (n > 0) {
                expect_success(sarvo_mh_sub_mat(parent.p, 0, 1, 2, n, &view.p));
                for (uint64_t i = 0; i < 3 * n; i++) expected_view.push_back(draw());
                sarvo_mh_m_rand(view.p, selector, rng);
                expect_bits(view.get(), expected_view, what);
                EXPECT_EQ(parent(1, 0), 9.0);
                EXPECT_EQ(parent(1, n + 1), 9.0);
            }
            for (sarvo_rng_t *r : {twister, twister_too}) sarvo_rng_free(r);
            for (sarvo_nr_rng_t *r : {classic, classic_too}) sarvo_nr_rng_free(r);
        }
    sarvo_mh_v_rand(nullptr, 1, nullptr);
    sarvo_mh_m_rand(nullptr, 2, nullptr);
    sarvo_mh_v_rand(Vec(Doubles()).p, 1, nullptr);
}

} // namespace
