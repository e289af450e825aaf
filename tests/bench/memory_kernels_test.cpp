// The copies and fills against word-by-word loops, on buffers that overlap and so show the order.
#include <sarvo/membench.h>

#include <cstring>
#include <numeric>

#include "bench_support.h"

namespace {

constexpr int32_t sizes[] = {-64, -1, 0, 32, 63, 64, 96, 127, 128, 200, 256, 1000, 4096};
constexpr uint64_t room = 4096 + 512;

// Bytes that differ from their neighbours, at an address of any alignment.
std::vector<unsigned char> arena() {
    std::vector<unsigned char> bytes(2 * room);
    test::Random random(1);
    for (unsigned char &b : bytes) b = static_cast<unsigned char>(random.next());
    return bytes;
}

using Order = std::vector<int32_t>;
const Order upwards = {0, 1, 2, 3, 4, 5, 6, 7}, downwards = {7, 6, 5, 4, 3, 2, 1, 0},
            halves_downwards = {4, 5, 6, 7, 0, 1, 2, 3};

void copy_word(unsigned char *to, const unsigned char *from, int32_t word) {
    uint64_t value;
    std::memcpy(&value, from + 8 * word, 8);
    std::memcpy(to + 8 * word, &value, 8);
}

void copy(unsigned char *to, const unsigned char *from, int32_t size, bool last_group_first, const Order &order) {
    const int32_t groups = std::max(size, 0) / 64;
    for (int32_t g = 0; g < groups; g++)
        for (const int32_t word : order) copy_word(to, from, 8 * (last_group_first ? groups - 1 - g : g) + word);
}

TEST(Copies, MoveWholeGroupsWordByWordInTheStatedOrder) {
    const struct {
        sarvo_membench_kernel kernel;
        bool last_group_first;
        Order order;
    } cases[] = {{aligned_block_copy, false, upwards},
                 {aligned_block_copy_pf32, false, upwards},
                 {aligned_block_copy_pf64, false, upwards},
                 {aligned_block_copy_backwards, true, downwards},
                 {aligned_block_copy_backwards_bs32, true, halves_downwards},
                 {aligned_block_copy_backwards_bs64, true, upwards}};
    for (size_t c = 0; c < std::size(cases); c++)
        for (const int32_t size : sizes)
            for (int64_t apart = -80; apart <= 80; apart++) { // odd distances, too
                auto actual = arena(), expected = actual;
                const uint64_t at = 201, to = static_cast<uint64_t>(static_cast<int64_t>(at) + apart);
                cases[c].kernel(actual.data() + to, actual.data() + at, size);
                copy(expected.data() + to, expected.data() + at, size, cases[c].last_group_first, cases[c].order);
                ASSERT_EQ(actual, expected) << "kernel " << c << ", size " << size << ", " << apart << " bytes apart";
            }
}

TEST(Fills, WriteTheWordReadOnceOverWholeGroups) {
    for (const sarvo_membench_kernel kernel :
         {aligned_block_fill, aligned_block_fill_shuffle16, aligned_block_fill_shuffle32, aligned_block_fill_shuffle64})
        for (const int32_t size : sizes)
            for (const uint64_t at : {0u, 100u, 143u, 300u}) { // before, in and behind the destination
                auto actual = arena(), expected = actual;
                const auto word = std::vector<unsigned char>(actual.begin() + static_cast<int64_t>(at),
                                                             actual.begin() + static_cast<int64_t>(at) + 8);
                kernel(actual.data() + 101, actual.data() + at, size);
                for (int32_t i = 0; i < std::max(size, 0) / 64 * 64; i++)
                    expected[101 + static_cast<size_t>(i)] = word[static_cast<size_t>(i % 8)];
                ASSERT_EQ(actual, expected) << "size " << size << ", word at " << at;
            }
}

TEST(Kernels, TouchNothingWithoutAGroup) {
    for (const sarvo_membench_kernel kernel :
         {aligned_block_copy, aligned_block_copy_backwards, aligned_block_copy_backwards_bs32,
          aligned_block_copy_backwards_bs64, aligned_block_copy_pf32, aligned_block_copy_pf64, aligned_block_fill,
          aligned_block_fill_shuffle16, aligned_block_fill_shuffle32, aligned_block_fill_shuffle64})
        for (const int32_t size : {INT32_MIN, -64, 0, 63}) kernel(nullptr, nullptr, size);
    for (const int32_t size : {INT32_MIN, -1, 0}) {
        memcpy_wrapper(nullptr, nullptr, size);
        memset_wrapper(nullptr, nullptr, size);
    }
}

TEST(Wrappers, CopyAndSetExactlySizeBytes) {
    for (const int32_t size : {1, 63, 64, 100}) {
        auto copied = arena(), set = copied;
        const auto before = copied;
        memcpy_wrapper(copied.data() + room, copied.data(), size);
        memset_wrapper(set.data() + room, set.data() + 7, size); // the low byte of a word
        for (size_t i = 0; i < room; i++) {
            const bool inside = i < static_cast<size_t>(size);
            ASSERT_EQ(copied[room + i], before[inside ? i : room + i]) << i;
            ASSERT_EQ(set[room + i], before[inside ? 7 : room + i]) << i;
        }
    }
}

} // namespace
