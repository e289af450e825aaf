// The subcommands of bench.
#pragma once

#include "line/subcommands.h"

namespace command {

Run add_bench_memory(CLI::App &app);
Run add_bench_latency(CLI::App &app);
Run add_bench_scimark(CLI::App &app);
Run add_bench_compare(CLI::App &app);

} // namespace command
