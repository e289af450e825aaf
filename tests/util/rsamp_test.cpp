// Statistics: exact small samples, the stated formulas bit for bit, degenerate samples, certified digits.
#include <sarvo/rsamp.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "test_support.h"

namespace {

using Doubles = std::vector<double>;
constexpr double untouched = -123.5;

int32_t size(const Doubles &x) { return static_cast<int32_t>(x.size()); }

Doubles batch(const Doubles &x) {
    Doubles s(4, untouched);
    sarvo_rsamp_statistics4(x.data(), size(x), &s[0], &s[1], &s[2], &s[3]);
    return s;
}

sarvo_rsamp_incr_t accumulate(const Doubles &x, const Doubles &w = {}) {
    sarvo_rsamp_incr_t acc;
    sarvo_rsamp_incr_init(&acc);
    for (size_t i = 0; i < x.size(); i++)
        w.empty() ? sarvo_rsamp_incr_add(&acc, x[i]) : sarvo_rsamp_incr_add_w(&acc, x[i], w[i]);
    sarvo_rsamp_incr_calc(&acc);
    return acc;
}

Doubles moments(const sarvo_rsamp_incr_t &a) { return {a.mean, a.m2, a.m3, a.m4}; }
Doubles results(const sarvo_rsamp_incr_t &a) { return {a.mean, a.variance, a.skewness, a.kurtosis}; }

TEST(Statistics, SmallSamplesComeOutExactly) {
    const Doubles expected = {2.5, 5.0 / 3.0, 0.0, 4.0 * 10.25 / 25.0 - 3.0};
    EXPECT_EQ(batch({1, 2, 3, 4}), expected);
    const sarvo_rsamp_incr_t plain = accumulate({1, 2, 3, 4}), ones = accumulate({1, 2, 3, 4}, {1, 1, 1, 1});
    EXPECT_EQ(results(plain), expected);
    EXPECT_EQ(moments(plain), (Doubles{2.5, 5, 0, 10.25}));
    for (size_t i = 0; i < 4; i++) EXPECT_NEAR(moments(ones)[i], moments(plain)[i], 1e-14) << i;
    EXPECT_NEAR(ones.variance, 5.0 / 4.0, 1e-15); // weighted: no correction of bias
    const sarvo_rsamp_incr_t twice = accumulate({1, 3, 7}, {2, 1, 3}), repeated = accumulate({1, 1, 3, 7, 7, 7});
    for (size_t i = 0; i < 4; i++) EXPECT_NEAR(moments(twice)[i], moments(repeated)[i], 1e-12) << i;
    EXPECT_NEAR(twice.skewness, repeated.skewness, 1e-14);
    EXPECT_NEAR(twice.kurtosis, repeated.kurtosis, 1e-14);
}

TEST(Statistics, DegenerateSamplesLeaveWhatHasNoValue) {
    double mean = untouched;
    for (const int32_t n : {0, -7}) {
        EXPECT_EQ(sarvo_rsamp_mean(nullptr, n), 0.0);
        EXPECT_EQ(sarvo_rsamp_mean_variance(nullptr, n, &mean), 0.0);
        EXPECT_EQ(mean, 0.0);
    }
    const double one = 42.0;
    EXPECT_EQ(sarvo_rsamp_mean_variance(&one, 1, &mean), 0.0);
    EXPECT_EQ(mean, 42.0);
    EXPECT_EQ(batch({}), (Doubles{0.0, untouched, untouched, untouched}));
    EXPECT_EQ(batch({42}), (Doubles{42.0, untouched, untouched, untouched}));
    EXPECT_EQ(batch({3, 3, 3}), (Doubles{3.0, 0.0, untouched, untouched}));
    sarvo_rsamp_statistics4(&one, 1, nullptr, nullptr, nullptr, nullptr);

    sarvo_rsamp_incr_t acc = accumulate({});
    EXPECT_EQ(results(acc), Doubles(4, 0.0));
    EXPECT_EQ(acc.min, SarvoDblXmax);
    EXPECT_EQ(acc.max, -SarvoDblXmax);
    acc.variance = untouched;
    for (const double x : {3.0, 3.0}) { // one observation, then no spread
        sarvo_rsamp_incr_add(&acc, x);
        sarvo_rsamp_incr_calc(&acc);
        EXPECT_EQ(acc.variance, untouched);
    }
}

TEST(Statistics, WeightZeroCountsAndNanMovesNoExtreme) {
    sarvo_rsamp_incr_t acc = accumulate({1, 2}, {1, 2});
    const Doubles before = moments(acc);
    for (const double w : {0.0, -0.0}) sarvo_rsamp_incr_add_w(&acc, w == 0.0 && std::signbit(w) ? -9.0 : 9.0, w);
    EXPECT_EQ(moments(acc), before);
    EXPECT_EQ(acc.sum_w, 3.0);
    EXPECT_EQ(acc.n, 4u);
    EXPECT_EQ(acc.min, -9.0);
    EXPECT_EQ(acc.max, 9.0);
    sarvo_rsamp_incr_add_w(&acc, 1.0, NAN);
    EXPECT_TRUE(std::isnan(acc.sum_w) && std::isnan(acc.m2));
    sarvo_rsamp_incr_add(&acc, NAN);
    EXPECT_EQ(acc.min, -9.0);
    EXPECT_EQ(acc.max, 9.0);
}

// ---- The formulas as printed, one rounding at each step ----

struct Moments {
    volatile double k = 0, W = 0, mean = 0, M2 = 0, M3 = 0, M4 = 0; // volatile: nothing is rearranged

    void add(double x) {
        const double k0 = k;
        k = k + 1;
        const double d = x - mean, dn = d / k, t = (d * dn) * k0, q = dn * dn;
        mean = mean + dn;
        M4 = ((M4 + (t * q) * ((k * k - 3 * k) + 3)) + (6 * q) * M2) - (4 * dn) * M3;
        M3 = (M3 + (t * dn) * (k - 2)) - (3 * dn) * M2;
        M2 = M2 + t;
    }
    void add(double x, double w) {
        const double W0 = W, d = x - mean;
        W = W0 + w;
        const double r = w / W, dn = r * d, e = (W0 / W) * d;
        M4 = (((M4 + W0 * ((dn * dn) * (dn * dn))) + w * ((e * e) * (e * e))) - ((4 * d) * M3) * r) +
             ((6 * (d * d)) * M2) * (r * r);
        M3 = ((M3 - W0 * ((dn * dn) * dn)) + w * ((e * e) * e)) - ((3 * d) * M2) * r;
        mean = mean + dn;
        M2 = (M2 + W0 * (dn * dn)) + w * (e * e);
    }
};

// The accumulator's groupings of t and of the first term of m3.
Moments incremental(const Doubles &x) {
    Moments s;
    for (const double xi : x) {
        const double k0 = s.k;
        s.k = s.k + 1;
        const double d = xi - s.mean, dn = d / s.k, t = (k0 * d) * dn, q = dn * dn;
        const double factor = k0 == 0 ? 0x1p64 : k0 - 1;
        s.M4 = ((s.M4 + (t * q) * ((s.k * s.k - 3 * s.k) + 3)) + (6 * q) * s.M2) - (4 * dn) * s.M3;
        s.M3 = (s.M3 + (factor * t) * dn) - (3 * dn) * s.M2;
        s.mean = s.mean + dn;
        s.M2 = s.M2 + t;
    }
    return s;
}

TEST(Statistics, EveryFormHasTheBitsOfItsFormulas) {
    test::Random random(20);
    for (int round = 0; round < 400; round++) {
        const size_t n = random.below(70);
        Doubles x(n), w(n);
        Moments all, weighted;
        volatile double sum = 0, s1 = 0, s2 = 0;
        for (size_t i = 0; i < n; i++) {
            x[i] = round % 4 == 0 ? random.special() : 100.0 + random.symmetric();
            w[i] = random.uniform() + 0.01;
            sum = sum + x[i];
            all.add(x[i]);
            weighted.add(x[i], w[i]);
        }
        const double k = static_cast<double>(n), mean = n ? sum / k : 0.0;
        for (const double xi : x) {
            s1 = s1 + (xi - mean);
            s2 = s2 + (xi - mean) * (xi - mean);
        }
        const double M2 = all.M2, M3 = all.M3, M4 = all.M4;
        const bool spread = !(M2 == 0.0);
        const Doubles expected = {mean,
                                  n > 1 ? (s2 - s1 * s1 / k) / (k - 1) : 0.0,
                                  all.mean,
                                  n > 1 ? M2 / (k - 1) : untouched,
                                  spread ? std::sqrt(k / ((M2 * M2) * M2)) * M3 : untouched,
                                  spread ? (k * M4) / (M2 * M2) - 3 : untouched};
        Doubles actual = {sarvo_rsamp_mean(x.data(), size(x)), sarvo_rsamp_mean_variance(x.data(), size(x), nullptr)};
        for (const double s : batch(x)) actual.push_back(s);
        test::expect_equal_bits(actual.data(), expected.data(), expected.size(),
                                "batch, round " + std::to_string(round));
        for (const auto &[acc, s] : {std::pair(accumulate(x), incremental(x)), std::pair(accumulate(x, w), weighted)}) {
            const Doubles stated = {s.mean, s.M2, s.M3, s.M4};
            test::expect_equal_bits(moments(acc).data(), stated.data(), 4, "moments, round " + std::to_string(round));
        }
    }
}

// ---- Certified digits ----

double digits(double value, double certified) {
    const double error = certified == 0.0 ? std::fabs(value) : std::fabs(value - certified) / std::fabs(certified);
    return error == 0.0 ? 15.0 : std::min(15.0, -std::log10(error));
}

struct Certified {
    Doubles data;
    double mean, deviation;
};

Certified read(const std::filesystem::path &path) {
    std::ifstream file(path);
    Certified set{};
    int number = 0;
    for (std::string line; std::getline(file, line);) {
        const size_t colon = line.find(':');
        if (++number > 60) set.data.push_back(std::stod(line));
        else if (line.starts_with("Sample Mean")) set.mean = std::stod(line.substr(colon + 1));
        else if (line.starts_with("Sample Standard Dev")) set.deviation = std::stod(line.substr(colon + 1));
    }
    return set;
}

TEST(Statistics, CertifiedSetsKeepTheirDigits) {
    const std::filesystem::path folder = SARVO_SHARED_DATA "/nist/univariate";
    std::ifstream table(folder / "moments.csv");
    if (!table) GTEST_SKIP() << folder << " is not there";
    const std::map<std::string, double> deviation_digits = {{"Lottery", 14.5}, {"Lew", 14.5},      {"PiDigits", 14.5},
                                                            {"Mavro", 13.0},   {"Michelso", 13.5}, {"NumAcc1", 14.5},
                                                            {"NumAcc2", 14.5}, {"NumAcc3", 9.4},   {"NumAcc4", 8.2}};
    std::string line;
    std::getline(table, line);
    int sets = 0;
    while (std::getline(table, line)) {
        std::replace(line.begin(), line.end(), ',', ' ');
        std::istringstream row(line);
        std::string name;
        double n, mean, variance, skewness, kurtosis, min, max;
        row >> name >> n >> mean >> variance >> skewness >> kurtosis >> min >> max;
        const Certified set = read(folder / (name + ".dat"));
        ASSERT_EQ(static_cast<double>(set.data.size()), n) << name;
        double two_pass_mean;
        const double two_pass = sarvo_rsamp_mean_variance(set.data.data(), size(set.data), &two_pass_mean);
        const Doubles one_pass = batch(set.data);
        const double wanted = deviation_digits.at(name);
        const double deviation = digits(std::sqrt(two_pass), set.deviation);
        const double one_pass_deviation = digits(std::sqrt(one_pass[1]), set.deviation);
        std::printf("%-9s certified: mean %.1f, deviation %.1f, in one pass %.1f; moments: variance %.1f, in one pass "
                    "%.1f, kurtosis %.1f, skewness off by %.1e\n",
                    name.c_str(), digits(two_pass_mean, set.mean), deviation, one_pass_deviation,
                    digits(two_pass, variance), digits(one_pass[1], variance), digits(one_pass[3], kurtosis),
                    std::fabs(one_pass[2] - skewness));
        EXPECT_GE(digits(two_pass_mean, set.mean), 13.9) << name;
        EXPECT_GE(deviation, wanted) << name;
        EXPECT_GE(one_pass_deviation, wanted >= 13.0 ? 12.0 : wanted) << name;
        EXPECT_GE(digits(two_pass, variance), 13.9) << name;
        EXPECT_GE(digits(one_pass[1], variance), 10.0) << name;
        EXPECT_GE(digits(one_pass[3], kurtosis), 11.0) << name;
        EXPECT_NEAR(one_pass[2], skewness, 1e-10) << name;
        const sarvo_rsamp_incr_t acc = accumulate(set.data);
        EXPECT_EQ(acc.min, min) << name;
        EXPECT_EQ(acc.max, max) << name;
        sets++;
    }
    EXPECT_GE(sets, 4);
}

} // namespace
