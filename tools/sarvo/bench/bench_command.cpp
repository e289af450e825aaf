// The subcommand bench: hands over to its own.
#include "bench/bench_commands.h"

#include <memory>
#include <utility>
#include <vector>

#include "errors.h"
#include "line/options.h"

namespace command {

Run add_bench(CLI::App &app) {
    explain(app,
            "Measurements are repeated in rounds; medians are shown, and a warning where the machine was busy. Ctrl-C "
            "prints what is\nknown and ends with exit code 130.\n",
            {"sarvo bench memory", "sarvo bench latency --plot -", "sarvo bench compare before.json after.json"});
    app.require_subcommand(1);
    const struct {
        const char *name, *description;
        Run (*add)(CLI::App &);
    } rows[] = {
        {"memory", "Bandwidth of copies and fills in each level of the memory", add_bench_memory},
        {"latency", "Time of a random read, over sizes that show the caches", add_bench_latency},
        {"scimark", "Five small numerical programs", add_bench_scimark},
        {"compare", "Whether two results of the above differ", add_bench_compare},
    };
    const auto runs = std::make_shared<std::vector<std::pair<CLI::App *, Run>>>();
    for (const auto &row : rows) {
        CLI::App *added = app.add_subcommand(row.name, row.description);
        runs->emplace_back(added, row.add(*added));
    }
    return [runs] {
        for (const auto &[subcommand, run] : *runs)
            if (subcommand->parsed()) return run();
        return static_cast<int>(exit_usage);
    };
}

} // namespace command
