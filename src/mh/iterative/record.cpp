// The workspace record of iterative methods: making, releasing, resizing, copying, printing; the default callbacks.
#include <sarvo/mh/iterative.h>

#include "record.h"

using sarvo::fail;
using sarvo::wrap;
using sarvo::mh::size_at_least;

namespace sarvo::mh {
namespace {

void report(const sarvo_mh_iter_t *ip, double res) {
    printf(res >= 0.0 ? " %d. residual = %g\n" : " %d. residual = %g (WARNING !!! should be >= 0) \n",
           static_cast<int>(ip->steps), res);
}

struct Release {
    static void record(sarvo_mh_iter_t *ip) { sarvo_mh_iter_free(ip); }
};
using TemporaryRecord = Temporary<sarvo_mh_iter_t, Release::record>;

[[nodiscard]] sarko_error_t make(sarvo_mh_iter_t **out) {
    void *p = nullptr;
    if (sarko_error_t e = sarko_mem_calloc(1, sizeof(sarvo_mh_iter_t), &p)) return e;
    *out = static_cast<sarvo_mh_iter_t *>(p);
    return 0;
}

// Room in *to for the elements of `from`, unless they are one or there are none.
[[nodiscard]] sarko_error_t make_room(const VEC *from, VEC **to) {
    return from && from != *to ? size_at_least(to, from->dim) : 0;
}

void copy_elements(const VEC *from, VEC *to) {
    if (from && from != to && from->dim > 0) memcpy(to->elems, from->elems, from->dim * sizeof(double));
}

} // namespace

int32_t stop_relative(const sarvo_mh_iter_t *ip, double res) { return ip->init_res * ip->eps >= res; }

void warn_when_moved(int32_t shared, const VEC *before, const VEC *after) {
    if (!shared || !before || before == after) return;
    const sarko_error_t warning =
        sarko_error_create_i(SARKO_KIND_WARNING, 0, 0, 0, 0, 0, "SARVO: shared vector resized!");
    sarko_error_clear(sarko_error_handle(warning, sarko_error_stdhandler, stdout));
}

} // namespace sarvo::mh

extern "C" {

sarko_error_t sarvo_mh_iter_get(int32_t lenb, int32_t lenx, sarvo_mh_iter_t **out) {
    if (!out) return fail(SarvoMHNullEC);
    sarvo::mh::TemporaryRecord made;
    if (sarko_error_t e = sarvo::mh::make(&made.p)) return e;
    sarvo_mh_iter_t &ip = *made.p;
    ip.limit = 1000;
    ip.eps = 1e-6;
    ip.info = sarvo::mh::report;
    ip.stop_crit = sarvo::mh::stop_relative;
    if (lenb >= 1)
        if (sarko_error_t e = sarvo_mh_v_get(static_cast<uint64_t>(lenb), &ip.b)) return e;
    if (lenx >= 1)
        if (sarko_error_t e = sarvo_mh_v_get(static_cast<uint64_t>(lenx), &ip.x)) return e;
    *out = made.p;
    made.p = nullptr;
    return 0;
}

void sarvo_mh_iter_free(sarvo_mh_iter_t *ip) {
    if (!ip) return;
    if (!ip->shared_x) sarvo_mh_v_free(ip->x);
    if (!ip->shared_b) sarvo_mh_v_free(ip->b);
    sarko_mem_free(ip);
}

sarko_error_t sarvo_mh_iter_resize(sarvo_mh_iter_t **ip, uint64_t lenb, uint64_t lenx) {
    if (!ip || !*ip) return wrap(fail(SarvoMHNullEC), "iter_resize");
    sarvo_mh_iter_t &r = **ip;
    const VEC *const x = r.x, *const b = r.b;
    if (sarko_error_t e = sarvo_mh_v_resize(&r.x, lenx)) return e;
    if (sarko_error_t e = sarvo_mh_v_resize(&r.b, lenb)) return e;
    sarvo::mh::warn_when_moved(r.shared_x, x, r.x);
    sarvo::mh::warn_when_moved(r.shared_b, b, r.b);
    return 0;
}

sarko_error_t sarvo_mh_iter_copy(const sarvo_mh_iter_t *ip1, sarvo_mh_iter_t **ip2) {
    if (!ip1 || !ip2) return wrap(fail(SarvoMHNullEC), "iter_copy");
    sarvo::mh::TemporaryRecord made;
    if (!*ip2)
        if (sarko_error_t e = sarvo::mh::make(&made.p)) return e;
    sarvo_mh_iter_t &to = *ip2 ? **ip2 : *made.p;
    if (sarko_error_t e = sarvo::mh::make_room(ip1->x, &to.x)) return e;
    if (sarko_error_t e = sarvo::mh::make_room(ip1->b, &to.b)) return e;
    VEC *const x = to.x, *const b = to.b;
    to = *ip1;
    to.x = x;
    to.b = b;
    to.shared_x = to.shared_b = 0;
    sarvo::mh::copy_elements(ip1->x, x);
    sarvo::mh::copy_elements(ip1->b, b);
    if (!*ip2) *ip2 = made.p;
    made.p = nullptr;
    return 0;
}

sarko_error_t sarvo_mh_iter_copy2(const sarvo_mh_iter_t *ip1, sarvo_mh_iter_t **ip2) {
    if (!ip1 || !ip2) return wrap(fail(SarvoMHNullEC), "iter_copy2");
    if (!*ip2)
        if (sarko_error_t e = sarvo::mh::make(ip2)) return e;
    sarvo_mh_iter_t kept = **ip2;
    **ip2 = *ip1;
    (*ip2)->x = kept.x;
    (*ip2)->b = kept.b;
    (*ip2)->shared_x = kept.shared_x;
    (*ip2)->shared_b = kept.shared_b;
    return 0;
}

void sarvo_mh_iter_dump(FILE *stream, const sarvo_mh_iter_t *ip) {
    if (!ip) {
        fputs(" sarvo_mh_iter_t structure: NULL\n", stream);
        return;
    }
    const auto truth = [](int32_t flag) { return flag ? "TRUE" : "FALSE"; };
    const auto address = [](auto p) { return reinterpret_cast<const void *>(p); };
    fputs("\n sarvo_mh_iter_t structure:\n", stream);
    fprintf(stream, " ip->shared_x = %s, ip->shared_b = %s\n", truth(ip->shared_x), truth(ip->shared_b));
    fprintf(stream, " ip->k = %d, ip->limit = %d, ip->steps = %d, ip->eps = %g\n", static_cast<int>(ip->k),
            static_cast<int>(ip->limit), static_cast<int>(ip->steps), ip->eps);
    fprintf(stream, " ip->x = 0x%p, ip->b = 0x%p\n", address(ip->x), address(ip->b));
    fprintf(stream, " ip->Ax = 0x%p, ip->A_par = 0x%p\n", address(ip->Ax), address(ip->A_par));
    fprintf(stream, " ip->ATx = 0x%p, ip->AT_par = 0x%p\n", address(ip->ATx), address(ip->AT_par));
    fprintf(stream, " ip->Bx = 0x%p, ip->B_par = 0x%p\n", address(ip->Bx), address(ip->B_par));
    fprintf(stream, " ip->info = 0x%p, ip->stop_crit = 0x%p, ip->init_res = %g\n", address(ip->info),
            address(ip->stop_crit), ip->init_res);
    fputs("\n", stream);
}

} // extern "C"
