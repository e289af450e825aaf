// Symmetric eigenvalues and eigenvectors: bits of the stated composition, residuals, known spectra, refusals.
#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <sstream>

#include "environment.h"
#include "orthogonal_reference.h"

namespace {

using namespace test::mh;
using reference::Dense;
using test::expect_error;
using test::expect_success;

constexpr double eps = 0x1p-52;
const char *const wrapped = "Cannot compute eigenvalues of a dense symmetric matrix";

Mat mat(const Dense &M) { return {M.rows, M.cols, M.x}; }

Dense random_symmetric(uint64_t n, test::Random &random, Fill fill = Fill::plain) {
    Dense A(n, n);
    const Doubles x = values(n * n, random, fill);
    for (uint64_t i = 0; i < n; i++)
        for (uint64_t j = 0; j <= i; j++) A(i, j) = A(j, i) = x[i * n + j];
    return A;
}

// A with eigenvalues that span many orders, are multiple, or lie close together.
Dense symmetric_with(const Doubles &eigenvalues, test::Random &random) {
    const uint64_t n = eigenvalues.size();
    Dense A(n, n);
    for (uint64_t i = 0; i < n; i++) A(i, i) = eigenvalues[i];
    for (int turn = 0; turn < 2; turn++) {
        Doubles h = values(n, random);
        double sum = 0.0;
        for (const double x : h) sum += x * x;
        reference::hhtrcols(A, 0, 0, h, 2.0 / sum);
        reference::hhtrrows(A, 0, 0, h, 2.0 / sum);
    }
    for (uint64_t i = 0; i < n; i++)
        for (uint64_t j = 0; j < i; j++) A(i, j) = A(j, i);
    return A;
}

Dense drawn(int type, uint64_t n, test::Random &random) {
    if (type == 0) return random_symmetric(n, random);
    Doubles w(n);
    for (uint64_t i = 0; i < n; i++) {
        const double t = n == 1 ? 0.0 : static_cast<double>(i) / static_cast<double>(n - 1);
        w[i] = type == 1 ? std::pow(10.0, -15.0 * t) : type == 2 ? (i % 2 ? 1.0 : -1.0) : 1.0 + 1e-13 * t;
    }
    return symmetric_with(w, random);
}

// The larger of |A q - w q| / (|A| n eps) and |q'q - I| / (n eps), largest elements.
double residual(const Dense &A, const Mat &Q, const Vec &w) {
    const uint64_t n = A.rows;
    double worst = 0.0, scale = 0.0;
    for (const double x : w.get()) scale = std::fmax(scale, std::fabs(x));
    for (uint64_t k = 0; k < n; k++)
        for (uint64_t i = 0; i < n; i++) {
            long double sum = 0.0L, inner = i == k ? -1.0L : 0.0L;
            for (uint64_t j = 0; j < n; j++) {
                sum += static_cast<long double>(A(i, j)) * Q(j, k);
                inner += static_cast<long double>(Q(j, i)) * Q(j, k);
            }
            sum -= static_cast<long double>(w.p->elems[k]) * Q(i, k);
            worst = std::fmax(worst, static_cast<double>(std::fabs(sum)) / scale);
            worst = std::fmax(worst, static_cast<double>(std::fabs(inner)));
        }
    return worst / (static_cast<double>(n) * eps);
}

TEST(Symmeig, HasTheBitsOfTheComposition) {
    test::Random random(1);
    for (uint64_t n = 1; n <= 41; n += n < 10 || n > 30 ? 1 : 4)
        for (const bool zeros : {false, true}) {
            const Dense A = random_symmetric(n, random, zeros ? Fill::zeros : Fill::plain);
            Dense H = A;
            Doubles diag(n), beta(n), a, b;
            reference::Hfactor(H, diag, beta);
            Dense Q = reference::makeHQ(H, diag, beta);
            for (uint64_t i = 0; i < n; i++) a.push_back(H(i, i));
            for (uint64_t i = 0; i + 1 < n; i++) b.push_back(H(i + 1, i));
            reference::trieig(a, b, &Q);
            at_every_level([&](const std::string &level) {
                const std::string what = std::to_string(n) + " " + level;
                const Mat M = mat(A);
                Mat q(2, 3);
                Vec w({1, 2, 3}), values_only;
                expect_success(sarvo_mh_symmeig(M.p, &q.p, &w.p));
                expect_bits(w.get(), a, "values " + what);
                expect_bits(q.get(), Q.x, "vectors " + what);
                expect_success(sarvo_mh_symmeig(M.p, nullptr, &values_only.p));
                expect_bits(values_only.get(), a, "values without vectors " + what);
                expect_bits(M.get(), A.x, "A stays");
            });
        }
}

// Large enough for several strips of columns and several batches of sweeps.
TEST(Symmeig, HasTheSameBitsAtEveryLevel) {
    test::Random random(2);
    for (const uint64_t n : {100u, 161u, 330u}) {
        const Dense A = random_symmetric(n, random);
        const Mat M = mat(A);
        Doubles values_there, vectors_there;
        at_every_level([&](const std::string &level) { // the literal loops come first
            Mat q;
            Vec w;
            expect_success(sarvo_mh_symmeig(M.p, &q.p, &w.p));
            if (values_there.empty()) {
                values_there = w.get();
                vectors_there = q.get();
            }
            expect_bits(w.get(), values_there, "values " + level);
            expect_bits(q.get(), vectors_there, "vectors " + level);
        });
    }
}

TEST(Symmeig, HasSmallResidualsOnAllTypes) {
    test::Random random(3);
    for (const uint64_t n : {1u, 2u, 3u, 5u, 10u, 50u, 100u}) {
        double worst = 0.0;
        for (int draw = 0; draw < (n <= 50 ? 200 : 50); draw++) {
            const Dense A = drawn(draw % 4, n, random);
            const Mat M = mat(A);
            Mat q;
            Vec w;
            expect_success(sarvo_mh_symmeig(M.p, &q.p, &w.p));
            worst = std::fmax(worst, residual(A, q, w));
        }
        EXPECT_LT(worst, 60.0) << n;
        std::printf("n = %3zu: worst ratio %.2f\n", static_cast<size_t>(n), worst);
    }
}

TEST(Trieig, HasTheBitsOfTheLoopsWithAndWithoutVectors) {
    test::Random random(4);
    for (uint64_t n = 1; n <= 40; n++) {
        Doubles a = values(n, random), b = values(n - 1, random, Fill::zeros);
        const Dense start(n, n, values(n * n, random, Fill::special)); // any matrix is rotated
        Doubles ra = a, rb = b;
        Dense Q = start;
        reference::trieig(ra, rb, &Q);
        at_every_level([&](const std::string &level) {
            Vec x(a), y(b), x2(a), y2(b);
            Mat q = mat(start);
            expect_success(sarvo_mh_trieig(x.p, y.p, q.p));
            expect_bits(x.get(), ra, level);
            expect_bits(y.get(), rb, level);
            expect_bits(q.get(), Q.x, level);
            expect_success(sarvo_mh_trieig(x2.p, y2.p, nullptr));
            expect_bits(x2.get(), ra, level);
        });
    }
}

TEST(Trieig, KnowsSmallCasesAndRefusesOthers) {
    Vec a({2, 2}), b({1}), c({2, 3}), zero({0});
    expect_success(sarvo_mh_trieig(a.p, b.p, nullptr));
    EXPECT_NEAR(std::fmin(a.p->elems[0], a.p->elems[1]), 1.0, 4 * eps);
    EXPECT_NEAR(std::fmax(a.p->elems[0], a.p->elems[1]), 3.0, 4 * eps);
    expect_success(sarvo_mh_trieig(c.p, zero.p, nullptr));
    EXPECT_EQ(c.get(), Doubles({2, 3}));

    Mat wide(2, 3), other(3, 3), good(2, 2);
    expect_error(sarvo_mh_trieig(nullptr, b.p, nullptr), SarvoMHNullEC, {"Input structure(s) is(are) not initialized"});
    expect_error(sarvo_mh_trieig(b.p, a.p, wide.p), SarvoMHSizesEC, {"Wrong size(s) of object(s)"});
    expect_error(sarvo_mh_trieig(a.p, b.p, other.p), SarvoMHSizesEC, {"Wrong size(s) of object(s)"});
    expect_error(sarvo_mh_trieig(a.p, b.p, wide.p), SarvoMHSquareEC, {"Matrix is not square"});
    for (const double bad : {HUGE_VAL, -HUGE_VAL, static_cast<double>(NAN)}) {
        Vec spoiled({1, bad}), off({1}), diagonal({1, 2}), spoiled_off({bad});
        expect_error(sarvo_mh_trieig(spoiled.p, off.p, good.p), SarvoMHRangeEC, {"Object out of range"});
        expect_error(sarvo_mh_trieig(diagonal.p, spoiled_off.p, nullptr), SarvoMHRangeEC, {"Object out of range"});
    }
    Vec huge({1e200, -1e200, 1e200}), huge_off({1e200, 1e200}), none{Doubles{}}, tiny({0, 0}), tiny_off({1e-200});
    expect_error(sarvo_mh_trieig(huge.p, huge_off.p, nullptr), SarvoMHRangeEC, {"Object out of range"});
    expect_error(sarvo_mh_trieig(tiny.p, tiny_off.p, nullptr), SarvoMHRangeEC, {"Object out of range"});
    expect_success(sarvo_mh_trieig(none.p, none.p, nullptr));
    for (uint64_t i = 0; i < 12; i++) // squares that overflow anywhere: it ends, and no infinity is returned as success
        for (const bool beside : {false, true}) {
            Doubles d(12, 1.0), e(11, 0.5);
            (beside ? e[i < 11 ? i : 10] : d[i]) = 1e170;
            Vec diagonal(d), off(e);
            const sarko_error_t outcome = sarvo_mh_trieig(diagonal.p, off.p, nullptr);
            if (outcome) expect_error(outcome, SarvoMHRangeEC, {"Object out of range"});
            else
                for (const double x : diagonal.get()) EXPECT_TRUE(std::isfinite(x)) << i << beside;
        }
}

// Products of tiny elements vanish, so that no off-diagonal element gets below its bound: it ends all the same.
TEST(Symmeig, EndsWhereTinyProductsVanish) {
    const auto expect_end = [](uint64_t n, const Doubles &elements, bool must_refuse) {
        Mat A(n, n, elements), Q;
        Vec w;
        for (const bool vectors : {false, true}) {
            const sarko_error_t e = sarvo_mh_symmeig(A.p, vectors ? &Q.p : nullptr, &w.p);
            if (e || must_refuse) expect_error(e, SarvoMHRangeEC, {wrapped, "Object out of range"});
            else
                for (const double x : w.get()) EXPECT_TRUE(std::isfinite(x));
        }
        EXPECT_EQ(A.get(), elements);
    };
    expect_end(3, {0, 1e-85, 0, 1e-85, 2, 1e-85, 0, 1e-85, 0}, true);
    expect_end(2, {0, 1e-210, 1e-210, 1e-256}, true);
    expect_end(3, {2, 0, 0, 0, 1e-200, 1e-201, 0, 1e-201, 2e-200}, true);
    expect_end(2, {1, 1e-170, 1e-170, 1}, true); // the shift is 0 / 0
    test::Random random(12);
    for (const double scale : {1e-162, 1e-160, 1e-155, 1e-250, 5e-324})
        for (int draw = 0; draw < 40; draw++) {
            Dense A = random_symmetric(2 + random.below(9), random);
            for (double &x : A.x) x *= scale;
            expect_end(A.rows, A.x, false);
        }
    for (int draw = 0; draw < 300; draw++) { // elements of every size beside each other
        const uint64_t n = 2 + random.below(5);
        Dense A(n, n);
        for (uint64_t i = 0; i < n; i++)
            for (uint64_t j = 0; j <= i; j++)
                A(i, j) = A(j, i) =
                    random.below(3) ? std::ldexp(random.symmetric(), -static_cast<int>(random.below(1000))) : 0.0;
        expect_end(n, A.x, false);
    }
}

TEST(Symmeig, EndsInEveryArithmetic) {
    test::in_every_environment([](const std::string &name) {
        test::Random random(13);
        for (const double scale : {1.0, 1e-160, 1e-300, 1e150})
            for (int type = 0; type < 4; type++)
                for (const uint64_t n : {2u, 5u, 20u}) {
                    Dense A = drawn(type, n, random);
                    for (double &x : A.x) x *= scale;
                    Mat input = mat(A), Q;
                    Vec w;
                    const sarko_error_t e = sarvo_mh_symmeig(input.p, &Q.p, &w.p);
                    EXPECT_TRUE(!e || sarko_error_code(e) == SarvoMHRangeEC) << name;
                    sarko_error_clear(e);
                }
    });
}

TEST(Symmeig, ChecksInOrder) {
    Mat wide(2, 3), A(2, 2, {1, 2, 2, 1}), bad(2, 2, {1, NAN, NAN, 1}), empty(0, 0), Q,
        large(2, 2, {1e200, 1e200, 1e200, 3});
    Vec w;
    const char *const null_message = "Input structure(s) is(are) not initialized";
    expect_error(sarvo_mh_symmeig(nullptr, &Q.p, &w.p), SarvoMHNullEC, {wrapped, null_message});
    expect_error(sarvo_mh_symmeig(A.p, &Q.p, nullptr), SarvoMHNullEC, {wrapped, null_message});
    expect_error(sarvo_mh_symmeig(wide.p, &Q.p, &w.p), SarvoMHSquareEC, {wrapped, "Matrix is not square"});
    expect_error(sarvo_mh_symmeig(bad.p, &Q.p, &w.p), SarvoMHRangeEC, {wrapped, "Object out of range"});
    expect_error(sarvo_mh_symmeig(large.p, &Q.p, &w.p), SarvoMHRangeEC, {wrapped, "Object out of range"});
    EXPECT_EQ(Q.p, nullptr);
    EXPECT_EQ(w.p, nullptr);
    expect_success(sarvo_mh_symmeig(empty.p, &Q.p, &w.p));
    EXPECT_EQ(Q.p->rows + w.p->dim, 0u);
    expect_success(sarvo_mh_symmeig(A.p, &A.p, &w.p)); // vectors over the matrix
    EXPECT_NEAR(std::fabs(A(0, 0)), std::sqrt(0.5), 2 * eps);
}

// ---- Spectra known to 25 digits ----

Dense read_matrix_market(const std::string &path) {
    std::ifstream file(path);
    std::string line, banner;
    std::getline(file, banner);
    while (std::getline(file, line) && line[0] == '%') {
    }
    std::istringstream sizes(line);
    uint64_t n = 0, columns = 0, stored = 0, i, j;
    sizes >> n >> columns >> stored;
    Dense A(n, n);
    if (banner.find(" array ") != std::string::npos) // the lower triangle by columns
        for (j = 0; j < n; j++)
            for (i = j; i < n; i++) {
                file >> A(i, j);
                A(j, i) = A(i, j);
            }
    for (double x = 1.0; stored-- > 0; A(i - 1, j - 1) = A(j - 1, i - 1) = x) {
        file >> i >> j;
        if (banner.find("pattern") == std::string::npos) file >> x;
    }
    return A;
}

TEST(Spectra, AgreeWithTheKnownEigenvalues) {
    const std::string folder = std::string(SARVO_SHARED_DATA) + "/matrix/";
    std::ifstream table(folder + "spectra.csv");
    if (!table) GTEST_SKIP() << "the folder of reference data is not there";
    std::map<std::string, Doubles> spectra;
    std::string line;
    while (std::getline(table, line)) {
        std::istringstream cells(line);
        std::string name, kind, k, value;
        for (std::string *cell : {&name, &kind, &k, &value}) std::getline(cells, *cell, ',');
        if (kind == "eigen") spectra[name].push_back(std::stod(value));
    }
    EXPECT_EQ(spectra.size(), 3u);
    for (auto &[name, known] : spectra) {
        const Dense A = read_matrix_market(folder + name + ".mtx");
        const Mat M = mat(A);
        Mat q;
        Vec w;
        expect_success(sarvo_mh_symmeig(M.p, &q.p, &w.p));
        Doubles got = w.get();
        ASSERT_EQ(got.size(), known.size()) << name;
        std::sort(got.begin(), got.end());
        std::sort(known.begin(), known.end());
        const double largest = std::fmax(std::fabs(known.front()), std::fabs(known.back()));
        double worst = 0.0;
        for (uint64_t k = 0; k < known.size(); k++) worst = std::fmax(worst, std::fabs(got[k] - known[k]));
        EXPECT_LE(worst, 60 * eps * largest) << name;
        std::printf("%-10s %3zu values, worst error %.2f eps of the largest\n", name.c_str(), known.size(),
                    worst / (eps * largest));
    }
}

} // namespace
