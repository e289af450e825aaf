// The machine as the system describes it.
#include "bench/machine.h"

#include <unistd.h>

#include <cmath>
#include <fstream>
#ifdef __APPLE__
#include <sys/sysctl.h>
#endif

#include "errors.h"
#include "numbers.h"

namespace command {
namespace {

#ifdef __APPLE__

uint64_t system_number(const char *name) {
    uint64_t value = 0;
    size_t size = sizeof value;
    return sysctlbyname(name, &value, &size, nullptr, 0) == 0 ? value : 0;
}

#else

std::string first_line(const std::string &path) {
    std::string line;
    std::ifstream file(path);
    std::getline(file, line);
    return line;
}

#endif

constexpr struct {
    const char *name;
    int shift;
} units[] = {{" GiB", 30}, {" MiB", 20}, {" KiB", 10}};

} // namespace

std::vector<CacheLevel> caches() {
    std::vector<CacheLevel> all;
#ifdef __APPLE__
    const char *const names[] = {"hw.l1dcachesize", "hw.l2cachesize", "hw.l3cachesize"};
    for (size_t i = 0; i < 3; i++)
        if (const uint64_t bytes = system_number(names[i])) all.push_back({"L" + std::to_string(i + 1), bytes});
#else
    for (int i = 0; i < 8; i++) {
        const std::string folder = "/sys/devices/system/cpu/cpu0/cache/index" + std::to_string(i) + "/";
        const std::string type = first_line(folder + "type"), size = first_line(folder + "size");
        if (size.empty() || type == "Instruction") continue;
        all.push_back({"L" + first_line(folder + "level"), parse_size(size, "cache size")});
    }
#endif
    return all;
}

std::string processor_name() {
#ifdef __APPLE__
    char name[256] = "";
    size_t size = sizeof name;
    sysctlbyname("machdep.cpu.brand_string", name, &size, nullptr, 0);
    return name;
#else
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);)
        if (line.compare(0, 10, "model name") == 0 && line.find(": ") != std::string::npos)
            return line.substr(line.find(": ") + 2);
    return "";
#endif
}

uint64_t memory_bytes() {
#ifdef __APPLE__
    return system_number("hw.memsize");
#else
    const long pages = sysconf(_SC_PHYS_PAGES), size = sysconf(_SC_PAGESIZE);
    return pages > 0 && size > 0 ? static_cast<uint64_t>(pages) * static_cast<uint64_t>(size) : 0;
#endif
}

std::string level_holding(uint64_t bytes, const std::vector<CacheLevel> &caches) {
    for (const CacheLevel &cache : caches)
        if (bytes <= cache.bytes) return cache.name;
    return "memory";
}

std::string size_text(uint64_t bytes) {
    for (const auto &unit : units)
        if (bytes >> unit.shift && (bytes & ((uint64_t{1} << unit.shift) - 1)) == 0)
            return std::to_string(bytes >> unit.shift) + unit.name;
    return std::to_string(bytes) + " B";
}

uint64_t parse_size(const std::string &text, const std::string &option) {
    std::string digits = text;
    if (digits.size() > 2 && digits.compare(digits.size() - 2, 2, "iB") == 0) digits.resize(digits.size() - 2);
    int shift = 0;
    if (!digits.empty())
        for (const auto &unit : units)
            if (digits.back() == unit.name[1]) shift = unit.shift;
    if (shift) digits.pop_back();
    const auto x = parse_number(digits);
    if (!x || !(*x >= 1.0) || *x != std::floor(*x) || *x > std::ldexp(1.0, 50 - shift))
        throw usage_error(option + ": '" + text + "' is not a size, as 4096, 48K, 2M or 1G");
    return static_cast<uint64_t>(*x) << shift;
}

} // namespace command
