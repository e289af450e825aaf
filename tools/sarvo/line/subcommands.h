// The subcommands: each adds its options to the application and returns what runs it.
#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace command {

using Run = std::function<int()>; // returns the exit code; throws Failure

Run add_completion(CLI::App &app);
Run add_cond(CLI::App &app);
Run add_conv(CLI::App &app);
Run add_dist(CLI::App &app);
Run add_eig(CLI::App &app);
Run add_eval(CLI::App &app);
Run add_exp(CLI::App &app);
Run add_fft(CLI::App &app);
Run add_fit(CLI::App &app);
Run add_info(CLI::App &app);
Run add_interp(CLI::App &app);
Run add_inv(CLI::App &app);
Run add_manual(CLI::App &app);
Run add_random(CLI::App &app);
Run add_sample(CLI::App &app);
Run add_solve(CLI::App &app);
Run add_stats(CLI::App &app);
Run add_svd(CLI::App &app);

} // namespace command
