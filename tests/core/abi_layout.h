/* The layout of the public records on platforms with 64-bit pointers: changing a line here breaks compiled callers. */
#ifndef SARVO_TEST_ABI_LAYOUT_H
#define SARVO_TEST_ABI_LAYOUT_H

#include <stddef.h>

#include <sarvo/lsq.h>
#include <sarvo/membench.h>
#include <sarvo/mh.h>
#include <sarvo/rnd.h>
#include <sarvo/rng.h>
#include <sarvo/rsamp.h>
#include <sarvo/sampler.h>
#include <sarvo/scimark.h>
#include <sarvo/specfunc.h>

#define SIZE(record, bytes) static_assert(sizeof(record) == (bytes), #record)
#define FIELD(record, field, offset) static_assert(offsetof(record, field) == (offset), #record "." #field)

SIZE(sarko_error_t, 8);
SIZE(sarko_mem_hooks, 32);
FIELD(sarko_mem_hooks, alloc, 0);
FIELD(sarko_mem_hooks, resize, 8);
FIELD(sarko_mem_hooks, release, 16);
FIELD(sarko_mem_hooks, ctx, 24);

SIZE(sarvo_vector, 32);
FIELD(sarvo_vector, dtype, 0);
FIELD(sarvo_vector, length, 8);
FIELD(sarvo_vector, capacity, 16);
FIELD(sarvo_vector, data, 24);

SIZE(sarvo_matrix, 56);
FIELD(sarvo_matrix, dtype, 0);
FIELD(sarvo_matrix, rows, 8);
FIELD(sarvo_matrix, cols, 16);
FIELD(sarvo_matrix, max_rows, 24);
FIELD(sarvo_matrix, max_cols, 32);
FIELD(sarvo_matrix, row_ptrs, 40);
FIELD(sarvo_matrix, data, 48);

SIZE(MAT, 56);
FIELD(MAT, rows, 0);
FIELD(MAT, cols, 8);
FIELD(MAT, max_rows, 16);
FIELD(MAT, max_cols, 24);
FIELD(MAT, capacity, 32);
FIELD(MAT, row_ptrs, 40);
FIELD(MAT, base, 48);

SIZE(VEC, 24);
FIELD(VEC, dim, 0);
FIELD(VEC, max_dim, 8);
FIELD(VEC, elems, 16);

SIZE(IVEC, 24);
FIELD(IVEC, dim, 0);
FIELD(IVEC, max_dim, 8);
FIELD(IVEC, elems, 16);

SIZE(I64VEC, 24);
FIELD(I64VEC, dim, 0);
FIELD(I64VEC, max_dim, 8);
FIELD(I64VEC, elems, 16);

SIZE(PERM, 16);
FIELD(PERM, size, 0);
FIELD(PERM, max_size, 4);
FIELD(PERM, elems, 8);

SIZE(row_elt, 24);
FIELD(row_elt, col, 0);
FIELD(row_elt, nxt_row, 4);
FIELD(row_elt, nxt_idx, 8);
FIELD(row_elt, val, 16);

SIZE(SPROW, 24);
FIELD(SPROW, len, 0);
FIELD(SPROW, maxlen, 4);
FIELD(SPROW, diag, 8);
FIELD(SPROW, elt, 16);

SIZE(SPMAT, 48);
FIELD(SPMAT, m, 0);
FIELD(SPMAT, n, 4);
FIELD(SPMAT, max_m, 8);
FIELD(SPMAT, max_n, 12);
FIELD(SPMAT, flag_col, 16);
FIELD(SPMAT, flag_diag, 17);
FIELD(SPMAT, row, 24);
FIELD(SPMAT, start_row, 32);
FIELD(SPMAT, start_idx, 40);

SIZE(sarvo_nr_svd, 96);
FIELD(sarvo_nr_svd, done, 0);
FIELD(sarvo_nr_svd, m, 8);
FIELD(sarvo_nr_svd, n, 16);
FIELD(sarvo_nr_svd, U, 24);
FIELD(sarvo_nr_svd, V, 32);
FIELD(sarvo_nr_svd, w, 40);
FIELD(sarvo_nr_svd, wmax, 48);
FIELD(sarvo_nr_svd, eps, 56);
FIELD(sarvo_nr_svd, thresh, 64);
FIELD(sarvo_nr_svd, maxiter, 72);
FIELD(sarvo_nr_svd, rank, 76);
FIELD(sarvo_nr_svd, nullity, 80);
FIELD(sarvo_nr_svd, rcond, 88);

SIZE(sarvo_lsq, 280);
FIELD(sarvo_lsq, model_kind, 0);
FIELD(sarvo_lsq, weight_kind, 4);
FIELD(sarvo_lsq, method, 8);
FIELD(sarvo_lsq, solver, 12);
FIELD(sarvo_lsq, npar, 16);
FIELD(sarvo_lsq, ndata, 20);
FIELD(sarvo_lsq, flags, 24);
FIELD(sarvo_lsq, tolx, 32);
FIELD(sarvo_lsq, tolg, 40);
FIELD(sarvo_lsq, max_tries, 48);
FIELD(sarvo_lsq, lambda, 56);
FIELD(sarvo_lsq, up_factor, 64);
FIELD(sarvo_lsq, down_factor, 72);
FIELD(sarvo_lsq, J, 80);
FIELD(sarvo_lsq, alpha, 88);
FIELD(sarvo_lsq, beta, 96);
FIELD(sarvo_lsq, x, 104);
FIELD(sarvo_lsq, step, 112);
FIELD(sarvo_lsq, r, 120);
FIELD(sarvo_lsq, weight_vector, 128);
FIELD(sarvo_lsq, weight_matrix, 136);
FIELD(sarvo_lsq, V, 144);
FIELD(sarvo_lsq, w, 152);
FIELD(sarvo_lsq, chisq, 160);
FIELD(sarvo_lsq, chisq_trial, 168);
FIELD(sarvo_lsq, step_max, 176);
FIELD(sarvo_lsq, step_rms, 184);
FIELD(sarvo_lsq, grad_max, 192);
FIELD(sarvo_lsq, grad_rms, 200);
FIELD(sarvo_lsq, gain, 208);
FIELD(sarvo_lsq, nullity, 216);
FIELD(sarvo_lsq, rcond, 224);
FIELD(sarvo_lsq, tries, 232);
FIELD(sarvo_lsq, user_data, 240);
FIELD(sarvo_lsq, model, 248);
FIELD(sarvo_lsq, restore, 256);
FIELD(sarvo_lsq, progress, 264);
FIELD(sarvo_lsq, svd, 272);

SIZE(sarvo_rng_t, 104);
FIELD(sarvo_rng_t, method, 0);
FIELD(sarvo_rng_t, name, 8);
FIELD(sarvo_rng_t, max, 16);
FIELD(sarvo_rng_t, min, 24);
FIELD(sarvo_rng_t, set, 32);
FIELD(sarvo_rng_t, get, 40);
FIELD(sarvo_rng_t, get_double, 48);
FIELD(sarvo_rng_t, state_size, 56);
FIELD(sarvo_rng_t, state, 64);
FIELD(sarvo_rng_t, gauss_method, 72);
FIELD(sarvo_rng_t, gauss, 80);
FIELD(sarvo_rng_t, gamma_method, 88);
FIELD(sarvo_rng_t, gamma, 96);

SIZE(sarvo_nr_rng_t, 32);
FIELD(sarvo_nr_rng_t, method, 0);
FIELD(sarvo_nr_rng_t, u, 8);
FIELD(sarvo_nr_rng_t, v, 16);
FIELD(sarvo_nr_rng_t, w, 24);

SIZE(sarvo_nr_rng_gamma_t, 40);
FIELD(sarvo_nr_rng_gamma_t, alph, 0);
FIELD(sarvo_nr_rng_gamma_t, bet, 8);
FIELD(sarvo_nr_rng_gamma_t, oalph, 16);
FIELD(sarvo_nr_rng_gamma_t, a1, 24);
FIELD(sarvo_nr_rng_gamma_t, a2, 32);

SIZE(sarvo_mh_iter_t, 136);
FIELD(sarvo_mh_iter_t, shared_x, 0);
FIELD(sarvo_mh_iter_t, shared_b, 4);
FIELD(sarvo_mh_iter_t, k, 8);
FIELD(sarvo_mh_iter_t, limit, 12);
FIELD(sarvo_mh_iter_t, steps, 16);
FIELD(sarvo_mh_iter_t, eps, 24);
FIELD(sarvo_mh_iter_t, x, 32);
FIELD(sarvo_mh_iter_t, b, 40);
FIELD(sarvo_mh_iter_t, Ax, 48);
FIELD(sarvo_mh_iter_t, A_par, 56);
FIELD(sarvo_mh_iter_t, ATx, 64);
FIELD(sarvo_mh_iter_t, AT_par, 72);
FIELD(sarvo_mh_iter_t, Bx, 80);
FIELD(sarvo_mh_iter_t, B_par, 88);
FIELD(sarvo_mh_iter_t, reserved_1, 96);
FIELD(sarvo_mh_iter_t, reserved_2, 104);
FIELD(sarvo_mh_iter_t, info, 112);
FIELD(sarvo_mh_iter_t, stop_crit, 120);
FIELD(sarvo_mh_iter_t, init_res, 128);

SIZE(sarvo_cheb_series, 32);
FIELD(sarvo_cheb_series, c, 0);
FIELD(sarvo_cheb_series, order, 8);
FIELD(sarvo_cheb_series, a, 16);
FIELD(sarvo_cheb_series, b, 24);

SIZE(sarvo_rsamp_incr_t, 88);
FIELD(sarvo_rsamp_incr_t, n, 0);
FIELD(sarvo_rsamp_incr_t, sum_w, 8);
FIELD(sarvo_rsamp_incr_t, mean, 16);
FIELD(sarvo_rsamp_incr_t, m2, 24);
FIELD(sarvo_rsamp_incr_t, m3, 32);
FIELD(sarvo_rsamp_incr_t, m4, 40);
FIELD(sarvo_rsamp_incr_t, min, 48);
FIELD(sarvo_rsamp_incr_t, max, 56);
FIELD(sarvo_rsamp_incr_t, variance, 64);
FIELD(sarvo_rsamp_incr_t, skewness, 72);
FIELD(sarvo_rsamp_incr_t, kurtosis, 80);

SIZE(sarvo_fsampler_1d_options_t, 40);
FIELD(sarvo_fsampler_1d_options_t, abs_tol, 0);
FIELD(sarvo_fsampler_1d_options_t, rel_tol, 8);
FIELD(sarvo_fsampler_1d_options_t, min_sin_angle, 16);
FIELD(sarvo_fsampler_1d_options_t, min_dx, 24);
FIELD(sarvo_fsampler_1d_options_t, refine_side, 32);

SIZE(sarvo_fsampler_1d_sample_t, 32);
FIELD(sarvo_fsampler_1d_sample_t, x, 0);
FIELD(sarvo_fsampler_1d_sample_t, y, 8);
FIELD(sarvo_fsampler_1d_sample_t, refine_score, 16);
FIELD(sarvo_fsampler_1d_sample_t, tag, 24);

SIZE(sarvo_fsampler_1d_t, 104);
FIELD(sarvo_fsampler_1d_t, options, 0);
FIELD(sarvo_fsampler_1d_t, count, 40);
FIELD(sarvo_fsampler_1d_t, capacity, 44);
FIELD(sarvo_fsampler_1d_t, samples, 48);
FIELD(sarvo_fsampler_1d_t, num_refine, 56);
FIELD(sarvo_fsampler_1d_t, refine_buf, 64);
FIELD(sarvo_fsampler_1d_t, x_min, 72);
FIELD(sarvo_fsampler_1d_t, x_max, 80);
FIELD(sarvo_fsampler_1d_t, y_min, 88);
FIELD(sarvo_fsampler_1d_t, y_max, 96);

SIZE(sarvo_nr_itpl, 56);
FIELD(sarvo_nr_itpl, n, 0);
FIELD(sarvo_nr_itpl, m, 4);
FIELD(sarvo_nr_itpl, last, 8);
FIELD(sarvo_nr_itpl, correlated, 12);
FIELD(sarvo_nr_itpl, hunt_distance, 16);
FIELD(sarvo_nr_itpl, x, 24);
FIELD(sarvo_nr_itpl, y, 32);
FIELD(sarvo_nr_itpl, y2, 40);
FIELD(sarvo_nr_itpl, y2_owned, 48);

SIZE(sarvo_nr_jtsm, 40);
FIELD(sarvo_nr_jtsm, n, 0);
FIELD(sarvo_nr_jtsm, V, 8);
FIELD(sarvo_nr_jtsm, d, 16);
FIELD(sarvo_nr_jtsm, tol, 24);
FIELD(sarvo_nr_jtsm, max_sweeps, 32);

SIZE(sarvo_membench_bandwidth_t, 64);
FIELD(sarvo_membench_bandwidth_t, test_name, 0);
FIELD(sarvo_membench_bandwidth_t, size, 8);
FIELD(sarvo_membench_bandwidth_t, block_size, 16);
FIELD(sarvo_membench_bandwidth_t, alignment, 24);
FIELD(sarvo_membench_bandwidth_t, repeats, 28);
FIELD(sarvo_membench_bandwidth_t, min_time, 32);
FIELD(sarvo_membench_bandwidth_t, best, 40);
FIELD(sarvo_membench_bandwidth_t, deviation, 48);
FIELD(sarvo_membench_bandwidth_t, precision, 56);

SIZE(sarvo_membench_latency_t, 64);
FIELD(sarvo_membench_latency_t, repeats, 0);
FIELD(sarvo_membench_latency_t, reads, 4);
FIELD(sarvo_membench_latency_t, test_size, 8);
FIELD(sarvo_membench_latency_t, single_ns, 16);
FIELD(sarvo_membench_latency_t, single_deviation, 24);
FIELD(sarvo_membench_latency_t, single_precision, 32);
FIELD(sarvo_membench_latency_t, dual_ns, 40);
FIELD(sarvo_membench_latency_t, dual_deviation, 48);
FIELD(sarvo_membench_latency_t, dual_precision, 56);

SIZE(Random, 112);
FIELD(Random, m, 0);
FIELD(Random, seed, 68);
FIELD(Random, i, 72);
FIELD(Random, j, 76);
FIELD(Random, haveRange, 80);
FIELD(Random, left, 88);
FIELD(Random, right, 96);
FIELD(Random, width, 104);

SIZE(Stopwatch, 24);
FIELD(Stopwatch, running, 0);
FIELD(Stopwatch, last_time, 8);
FIELD(Stopwatch, total, 16);

#endif
