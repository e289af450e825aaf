// The subcommand svd.
#include <cmath>
#include <memory>

#include "line/options.h"
#include "line/subcommands.h"
#include "matrix/thin_svd.h"
#include "numbers.h"
#include "stopwatch.h"

namespace command {
namespace {

const char *const prose =
    "A is a matrix: a table of numbers, Matrix Market or .npy; - for standard input. It is decomposed into\n"
    "U diag(w) V', by Householder's reduction and implicit QR; the singular values come largest first, and U and V "
    "have\n"
    "as many columns as there are of them. The rank is the number of those above the threshold, by default\n"
    "eps/2 sqrt(m + n + 1) times the largest.\n";

struct Arguments {
    std::string matrix;
    double threshold = -1.0;
    bool vectors = false;
    OutputOptions form;
};

// |A - U w V'| as a share of |A|, largest elements.
double residual(const MAT &A, const MAT &U, const MAT &V, const std::vector<double> &w) {
    const Dense scaled = make_dense(U.rows, U.cols);
    for (uint64_t i = 0; i < U.rows; i++)
        for (uint64_t j = 0; j < U.cols; j++) scaled->row_ptrs[i][j] = U.row_ptrs[i][j] * w[j];
    const Dense back = product_transposed(*scaled, V);
    const double scale = largest(A);
    return distance(A, *back) / (scale > 0.0 ? scale : 1.0);
}

double orthogonality(const MAT &U) { return distance_from_identity(*transposed_product(U, U)); }

int run_svd(const Arguments &a) {
    const Stopwatch watch;
    const DenseInput input = read_real_matrix(a.matrix);
    const ThinSvd svd = thin_svd(input, a.threshold);
    const size_t least = svd.w.size();

    Answer answer;
    answer.fact("rows", "rows", whole(input.rows));
    answer.fact("columns", "columns", whole(input.cols));
    answer.fact("rank", "rank", whole(svd.rank), 0, "(singular values above " + general(svd.threshold, 3) + ")");
    answer.fact("threshold", "threshold", svd.threshold, 3);
    answer.fact("condition", "condition (2-norm)", svd.condition(), 4);
    answer.fact("residual", "residual |A - U w V'| / |A|", residual(*dense(input), *svd.U, *svd.V, svd.w), 3);
    answer.fact("orthogonality_u", "orthogonality |U'U - 1|", orthogonality(*svd.U), 3);
    answer.fact("orthogonality_v", "orthogonality |V'V - 1|", orthogonality(*svd.V), 3);
    answer.time(watch.seconds());
    answer.list("singular_values", "", "number", svd.w).shown = 40;
    if (a.vectors) {
        answer.matrix("u", "U, left vectors in columns", svd.U->base, input.rows, least);
        answer.matrix("v", "V, right vectors in columns", svd.V->base, input.cols, least);
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
