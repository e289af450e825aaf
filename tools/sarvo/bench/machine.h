// What the benchmarks run on: processor, caches, memory; and sizes in words.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace command {

struct CacheLevel {
    std::string name; // "L1", "L2", ...: caches of data
    uint64_t bytes;
};

// Of the first processor, the nearest first; empty when the system does not tell.
std::vector<CacheLevel> caches();
std::string processor_name(); // empty when the system does not tell
uint64_t memory_bytes();      // of the machine

// The nearest level that holds so many bytes; "memory" beyond the last cache.
std::string level_holding(uint64_t bytes, const std::vector<CacheLevel> &caches);

std::string size_text(uint64_t bytes); // "48 KiB"; whole numbers of the largest unit that gives one

// "64", "48K", "2M", "1G", with or without iB behind. Throws a usage_error naming the option.
uint64_t parse_size(const std::string &text, const std::string &option);

} // namespace command
