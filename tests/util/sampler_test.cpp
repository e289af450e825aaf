// The sampler: the stated scoring against a literal model, orders and ties, refusals, memory that fails.
#include <sarvo/sampler.h>

#include <cmath>
#include <memory>

#include "test_support.h"

// This program alone has the system allocator behind these (--wrap): the allocations of the library can be made to fail.
extern "C" {
void *__real_malloc(size_t);
void *__real_realloc(void *, size_t);
static int64_t allocations_left = -1; // before the one that fails; negative: none does
static bool fails() { return allocations_left >= 0 && allocations_left-- == 0; }
void *__wrap_malloc(size_t size) { return fails() ? nullptr : __real_malloc(size); }
void *__wrap_realloc(void *p, size_t size) { return fails() ? nullptr : __real_realloc(p, size); }
}

namespace {

using Options = sarvo_fsampler_1d_options_t;
using Handle = std::unique_ptr<sarvo_fsampler_1d_t, void (*)(sarvo_fsampler_1d_t *)>;

Handle sampler(const Options *options = nullptr) { return {sarvo_fsampler_1d_new(options), sarvo_fsampler_1d_destroy}; }
Options defaults() {
    Options o;
    sarvo_fsampler_1d_options_defaults(&o);
    return o;
}
void add(const Handle &s, const std::vector<std::pair<double, double>> &points) {
    for (const auto &[x, y] : points) EXPECT_EQ(sarvo_fsampler_1d_add(s.get(), x, y, 0), 0);
}

// The samples in a vector, scanned and scored as the header says.
struct Model {
    struct Sample {
        double x, y, score;
        uint32_t tag;
    };
    Options o = defaults();
    std::vector<Sample> all;
    double low = SarvoDblXmax, high = -SarvoDblXmax;

    void bend(size_t i) {
        const Sample &L = all[i - 1], &M = all[i], &R = all[i + 1];
        const double dxl = M.x - L.x, dxr = R.x - M.x, dyl = M.y - L.y, dyr = R.y - M.y;
        if (o.min_dx > dxl && o.min_dx > dxr) return;
        if (o.abs_tol > std::fabs(dyl) && o.abs_tol > std::fabs(dyr)) return;
        if ((high - low) * o.rel_tol > std::fabs(dyl) && (high - low) * o.rel_tol > std::fabs(dyr)) return;
        const double X = R.x - L.x;
        const double Y = std::fmax(L.y, std::fmax(M.y, R.y)) - std::fmin(L.y, std::fmin(M.y, R.y));
        const double lx = dxl / X, ly = dyl / Y, rx = dxr / X, ry = dyr / Y;
        const double l = std::sqrt(lx * lx + ly * ly), r = std::sqrt(rx * rx + ry * ry);
        const double s = (lx / l) * (ry / r) - (rx / r) * (ly / l);
        if ((o.refine_side == 1 && s < 0) || (o.refine_side == 2 && s > 0) || !(std::fabs(s) > o.min_sin_angle)) return;
        const double score = std::fabs(dyr * dxl - dyl * dxr);
        if (dxl > o.min_dx && score > all[i - 1].score) all[i - 1].score = score;
        if (dxr > o.min_dx && score > all[i].score) all[i].score = score;
    }
    void add(double x, double y, uint32_t tag) {
        if (y < low) low = y;
        if (y > high) high = y;
        size_t p = 0;
        while (p < all.size() && !(all[p].x > x)) p++;
        const size_t before = all.size();
        all.insert(all.begin() + static_cast<std::ptrdiff_t>(p), {x, y, 0.0, tag});
        if (before == 0) low = high = y;
        if (before < 2) return;
        if (p > 0) all[p - 1].score = 0.0;
        if (p == 0) return bend(1);
        if (p == before) return bend(p - 1);
        if (p > 1) bend(p - 1);
        bend(p);
        if (p + 2 < all.size()) bend(p + 1);
    }
    std::vector<double> refine(size_t most) const { // stable: the left one of equals first
        std::vector<size_t> flagged;
        for (size_t i = 0; i + 1 < all.size(); i++)
            if (all[i].score > 0) flagged.push_back(i);
        std::stable_sort(flagged.begin(), flagged.end(),
                         [this](size_t a, size_t b) { return all[a].score > all[b].score; });
        std::vector<double> xs;
        for (size_t k = 0; k < flagged.size() && k < most; k++)
            xs.push_back(all[flagged[k] + 1].x * 0.5 + all[flagged[k]].x * 0.5);
        return xs;
    }
};

void expect_same(const Handle &s, const Model &model, const std::string &what) {
    int32_t flagged = 0;
    ASSERT_EQ(sarvo_fsampler_1d_num_samples(s.get()), static_cast<int32_t>(model.all.size())) << what;
    for (size_t i = 0; i < model.all.size(); i++) {
        const auto &actual = s->samples[i];
        const Model::Sample &m = model.all[i];
        ASSERT_EQ(test::bits(actual.x), test::bits(m.x)) << what << ", sample " << i;
        ASSERT_EQ(test::bits(actual.refine_score), test::bits(m.score)) << what << ", sample " << i;
        ASSERT_EQ(actual.tag, m.tag) << what << ", sample " << i;
        flagged += m.score > 0;
    }
    ASSERT_EQ(sarvo_fsampler_1d_num_refine(s.get()), flagged) << what;
    ASSERT_EQ(sarvo_fsampler_1d_is_done(s.get()), flagged == 0) << what;
    for (const int32_t most : {1, 2, 5, 1000}) {
        std::vector<double> xs(1000, -99.0);
        const int32_t count = sarvo_fsampler_1d_get_refine(s.get(), most, xs.data());
        xs.resize(static_cast<size_t>(count));
        ASSERT_EQ(xs, model.refine(static_cast<size_t>(most))) << what << ", at most " << most;
    }
}

TEST(Sampler, ScoresAndOrdersAsTheModel) {
    test::Random random(91);
    for (int round = 0; round < 300; round++) {
        Model model;
        model.o.refine_side = static_cast<uint32_t>(round % 3);
        model.o.min_dx = round % 5 == 0 ? 0.05 : 1e-6;
        model.o.abs_tol = round % 7 == 0 ? 0.2 : 0.0;
        const Handle s = sampler(&model.o);
        const int kind = round % 4; // smooth; ties and equal x; a NaN x among them; NaN and infinite y
        for (uint32_t k = 0; k < 150; k++) {
            double x = kind == 1 ? static_cast<double>(random.below(40)) : random.uniform();
            if (kind == 2 && random.below(20) == 0) x = std::nan("");
            double y = kind == 1 ? static_cast<double>(random.below(3)) : 10.0 * x * x * x;
            if (kind == 3 && random.below(9) == 0) y = random.special();
            ASSERT_EQ(sarvo_fsampler_1d_add(s.get(), x, y, k), 0);
            model.add(x, y, k);
        }
        expect_same(s, model, "round " + std::to_string(round));
        if (HasFatalFailure()) return;
        double x, y;
        uint32_t tag;
        size_t least = 0, most = 0;
        for (size_t i = 0; i < model.all.size(); i++) {
            if (model.all[i].y < model.all[least].y) least = i;
            if (model.all[i].y > model.all[most].y) most = i;
        }
        EXPECT_EQ(sarvo_fsampler_1d_get_min(s.get(), &x, &y, &tag), 0);
        EXPECT_EQ(tag, model.all[least].tag);
        EXPECT_EQ(sarvo_fsampler_1d_get_max(s.get(), &x, &y, &tag), 0);
        EXPECT_EQ(tag, model.all[most].tag);
    }
}

TEST(Sampler, TentIsFlaggedOnBothSidesAndALineIsNot) {
    const Handle line = sampler(), tent = sampler();
    add(line, {{0, 0}, {1, 1}, {2, 2}});
    EXPECT_EQ(sarvo_fsampler_1d_is_done(line.get()), 1);
    add(tent, {{0, 0}, {1, 1}});
    EXPECT_EQ(sarvo_fsampler_1d_is_done(tent.get()), 1);
    add(tent, {{2, 0}});
    EXPECT_EQ(tent->samples[0].refine_score, 2.0);
    EXPECT_EQ(tent->samples[1].refine_score, 2.0);
    double xs[2];
    EXPECT_EQ(sarvo_fsampler_1d_get_refine(tent.get(), 2, xs), 2);
    EXPECT_EQ(xs[0], 0.5);
    EXPECT_EQ(xs[1], 1.5);
    const auto *storage = tent->samples;
    sarvo_fsampler_1d_clear(tent.get());
    EXPECT_EQ(sarvo_fsampler_1d_num_samples(tent.get()), 0);
    EXPECT_EQ(sarvo_fsampler_1d_is_done(tent.get()), 1);
    EXPECT_EQ(tent->y_min, SarvoDblXmax);
    add(tent, {{0, 0}});
    EXPECT_EQ(tent->samples, storage);
    for (const uint32_t side : {1u, 2u}) {
        Options o = defaults();
        o.refine_side = side;
        const Handle s = sampler(&o);
        add(s, {{0, 0}, {1, 1}, {2, 0}});
        EXPECT_EQ(sarvo_fsampler_1d_num_refine(s.get()), side == 2 ? 2 : 0);
    }
    const Handle tiny = sampler(); // the area underflows: no flag
    add(tiny, {{0, 0}, {1e-5, 1e-320}, {2e-5, 0}});
    EXPECT_EQ(sarvo_fsampler_1d_num_refine(tiny.get()), 0);
}

TEST(Sampler, OptionsAreClampedAndArgumentsRefused) {
    const Options wild = {-1, -1, 2, 0, 7};
    const Handle s = sampler(&wild);
    const Options *o = sarvo_fsampler_1d_get_options(s.get());
    EXPECT_EQ(static_cast<const void *>(o), s.get());
    EXPECT_TRUE(o->abs_tol == 0 && o->rel_tol == 0 && o->min_sin_angle == 1 && o->min_dx == SarvoDblEps &&
                o->refine_side == 0);
    const Options negative = {0, 0, -1, 1, 1};
    EXPECT_EQ(sampler(&negative)->options.min_sin_angle, SarvoDblEps);
    EXPECT_EQ(sampler()->options.min_sin_angle, 0.17364817766693033);
    double x = 5, y;
    uint32_t tag;
    EXPECT_EQ(sarvo_fsampler_1d_add(nullptr, 0, 0, 0), -1);
    EXPECT_EQ(sarvo_fsampler_1d_get(nullptr, 0, &x, &y, &tag), -1);
    EXPECT_EQ(sarvo_fsampler_1d_get_min(nullptr, &x, &y, &tag), -1);
    EXPECT_EQ(sarvo_fsampler_1d_get_max(s.get(), &x, &y, &tag), -2);
    EXPECT_EQ(sarvo_fsampler_1d_get_refine(nullptr, 0, nullptr), -1);
    EXPECT_EQ(sarvo_fsampler_1d_get_refine(s.get(), 0, nullptr), -2);
    EXPECT_EQ(sarvo_fsampler_1d_get_refine(s.get(), 1, nullptr), -3);
    EXPECT_EQ(sarvo_fsampler_1d_get_refine(s.get(), 1, &x), 0);
    add(s, {{1, 2}});
    EXPECT_EQ(sarvo_fsampler_1d_get(s.get(), 1, &x, &y, &tag), -2);
    EXPECT_EQ(sarvo_fsampler_1d_get(s.get(), 0, &x, &y, &tag), 0);
    EXPECT_EQ(x, 1.0);
    EXPECT_EQ(sarvo_fsampler_1d_is_done(nullptr), 1);
    EXPECT_EQ(sarvo_fsampler_1d_num_samples(nullptr) + sarvo_fsampler_1d_num_refine(nullptr), 0);
    EXPECT_EQ(sarvo_fsampler_1d_get_options(nullptr), nullptr);
    sarvo_fsampler_1d_clear(nullptr);
    sarvo_fsampler_1d_destroy(nullptr);
    sarvo_fsampler_1d_options_defaults(nullptr);
}

TEST(Sampler, FailedAllocationsHaveTheirCodes) {
    allocations_left = 0;
    sarvo_fsampler_1d_t *none = sarvo_fsampler_1d_new(nullptr);
    allocations_left = -1;
    EXPECT_EQ(none, nullptr);
    const Handle s = sampler();
    const auto with_failure = [](auto operation) {
        allocations_left = 0;
        const int32_t result = operation();
        allocations_left = -1;
        return result;
    };
    double xs[4];
    EXPECT_EQ(with_failure([&] { return sarvo_fsampler_1d_add(s.get(), 0, 0, 0); }), -2);
    EXPECT_EQ(s->capacity, 64);
    for (int i = 0; i < 64; i++) ASSERT_EQ(sarvo_fsampler_1d_add(s.get(), i, i % 2, 0), 0) << "retry";
    EXPECT_EQ(sarvo_fsampler_1d_get_refine(s.get(), 4, xs), 4);
    EXPECT_EQ(with_failure([&] { return sarvo_fsampler_1d_get_refine(s.get(), 4, xs); }), -4);
    EXPECT_EQ(s->refine_buf, nullptr);
    EXPECT_EQ(sarvo_fsampler_1d_get_refine(s.get(), 4, xs), 4);
    EXPECT_EQ(with_failure([&] { return sarvo_fsampler_1d_get_refine(s.get(), 1, xs); }), 1) << "needs no memory";
    EXPECT_EQ(with_failure([&] { return sarvo_fsampler_1d_add(s.get(), 0, 0, 0); }), -2);
    EXPECT_EQ(s->samples, nullptr);
    EXPECT_EQ(s->capacity, 128);
    double y;
    uint32_t tag;
    EXPECT_EQ(sarvo_fsampler_1d_add(s.get(), 0, 0, 0), -2) << "lost";
    EXPECT_EQ(sarvo_fsampler_1d_get(s.get(), 0, xs, &y, &tag), -2);
    EXPECT_EQ(sarvo_fsampler_1d_get_refine(s.get(), 4, xs), 0);
    sarvo_fsampler_1d_clear(s.get());
    EXPECT_EQ(sarvo_fsampler_1d_add(s.get(), 0, 0, 0), 0);
}

} // namespace
