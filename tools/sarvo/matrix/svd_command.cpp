// The subcommand svd.
#include <cmath>
#include <memory>

#include "line/options.h"
#include "line/subcommands.h"
#include "matrix/dense.h"
#include "numbers.h"
#include "stopwatch.h"

namespace command {
namespace {

const char *const prose = "A is a matrix: a table of numbers, Matrix Market or .npy; - for standard input. It is "
                          "decomposed into U diag(w) V',\n"
                          "by Householder's reduction and implicit QR; the singular values come largest first. The "
                          "rank is the number of those\n"
                          "above the threshold, by default eps/2 sqrt(m + n + 1) times the largest.\n";

struct Arguments {
    std::string matrix;
    double threshold = -1.0;
    bool vectors = false;
    OutputOptions form;
};

Svd decompose(const sarvo_matrix &A, double threshold) {
    Svd svd = make_svd();
    svd->thresh = threshold;
    check(sarvo_nr_svd_decompose(&A, 0, 0, A.rows, A.cols, svd.get()));
    check(sarvo_nr_svd_reorder(svd.get()));
    return svd;
}

// |A - U w V'| as a share of |A|, largest elements.
double residual(const MAT &A, const MAT &U, const MAT &V, const double *w) {
    const Dense scaled = make_dense(U.rows, U.cols);
    for (uint64_t i = 0; i < U.rows; i++)
        for (uint64_t j = 0; j < U.cols; j++) scaled->row_ptrs[i][j] = U.row_ptrs[i][j] * w[j];
    const Dense back = product_transposed(*scaled, V);
    const double scale = largest(A);
    return distance(A, *back) / (scale > 0.0 ? scale : 1.0);
}

// Of a wide matrix the last columns of U are zero.
double orthogonality(const MAT &U, size_t columns) {
    const Dense gram = transposed_product(U, U);
    for (uint64_t j = columns; j < gram->rows; j++) gram->row_ptrs[j][j] += 1.0;
    return distance_from_identity(*gram);
}

int run_svd(const Arguments &a) {
    const Stopwatch watch;
    const DenseInput input = read_real_matrix(a.matrix);
    const Svd svd = decompose(*typed(input), a.threshold);
    const Dense A = dense(input), U = dense(*svd->U), V = dense(*svd->V);
    const double *w = elements(svd->w);
    const size_t least = std::min(input.rows, input.cols);

    Answer answer;
    answer.fact("rows", "rows", whole(input.rows));
    answer.fact("columns", "columns", whole(input.cols));
    answer.fact("rank", "rank", whole(svd->rank), 0, "(singular values above " + general(svd->thresh, 3) + ")");
    answer.fact("threshold", "threshold", svd->thresh, 3);
    answer.fact("condition", "condition (2-norm)", w[least - 1] > 0.0 ? w[0] / w[least - 1] : HUGE_VAL, 4);
    answer.fact("residual", "residual |A - U w V'| / |A|", residual(*A, *U, *V, w), 3);
    answer.fact("orthogonality_u", "orthogonality |U'U - 1|", orthogonality(*U, least), 3);
    answer.fact("orthogonality_v", "orthogonality |V'V - 1|", orthogonality(*V, input.cols), 3);
    answer.time(watch.seconds());
    answer.list("singular_values", "", "number", std::vector<double>(w, w + least)).shown = 40;
    if (a.vectors) {
        const Dense left = make_dense(input.rows, least);
        for (uint64_t i = 0; i < input.rows; i++) std::copy_n(U->row_ptrs[i], least, left->row_ptrs[i]);
        answer.matrix("u", "U, left vectors in columns", left->base, input.rows, least);
        answer.matrix("v", "V, right vectors in columns", V->base, input.cols, input.cols);
    }
    print(answer, a.form);
    return exit_done;
}

} // namespace

Run add_svd(CLI::App &app) {
    const auto a = std::make_shared<Arguments>();
    explain(app, prose,
            {"sarvo svd A.csv", "sarvo svd A.npy --vectors --format json", "sarvo svd A.mtx --threshold 1e-6"});
    argument(app, "A", a->matrix, "Matrix, a file or -")->required();
    option(app, "--threshold", a->threshold, 0.0, HUGE_VAL, "X", "Singular values not above X count as zero");
    app.add_flag("--vectors", a->vectors, "Print U and V too");
    add_output_options(app, a->form);
    return [a] { return run_svd(*a); };
}

} // namespace command
