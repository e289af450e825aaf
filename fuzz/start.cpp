// Start values: what is accepted, printed again, is accepted as the same.
#include "fit/start_values.h"

#include "numbers.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text = fuzz::text_of(data, size);
    std::vector<std::pair<std::string, double>> start;
    const auto parse = [&] { start = command::parse_start(text); };
    if (!fuzz::refusal(command::exit_usage, parse).empty()) return 0;
    std::string printed;
    for (const auto &[name, value] : start)
        printed += (printed.empty() ? "" : ",") + name + " = " + command::shortest(value);
    if (printed.empty()) return 0;
    const auto again = command::parse_start(printed);
    fuzz::require(again.size() == start.size(), "as many values read back");
    for (size_t i = 0; i < start.size(); i++)
        fuzz::require(again[i].first == start[i].first && fuzz::same(again[i].second, start[i].second),
                      "names and values read back");
    return 0;
}
