// Storage of typed vectors: allocation, resizing, copying, zeroing, and every refusal in its order.
#include <sarvo/array.h>

#include "array_support.h"

namespace {

using test::expect_error;
using test::expect_success;
using test::invalid;
using test::invalid_dtypes;
using test::unimplemented;
using test::Vector;
using Doubles = std::vector<double>;

constexpr uint32_t as_dtype = SARVO_REALLOC_DTYPE;

std::string overflow() { return "Size of allocation overflows."; }

TEST(VectorAlloc, EveryIdGetsZeroedElementsOfItsSize) {
    for (uint32_t id = 1; id < SARVO_DTYPES; id++) {
        for (const uint64_t length : {0u, 1u, 7u}) {
            const Vector x(id, length);
            EXPECT_EQ(x.v->dtype, id);
            EXPECT_EQ(x.v->length, length);
            EXPECT_EQ(x.v->capacity, length);
            EXPECT_EQ(x.v->data == nullptr, length == 0);
            for (uint64_t i = 0; i < length * SarvoDtype[id]; i++) EXPECT_EQ(static_cast<char *>(x.v->data)[i], 0);
        }
    }
}

TEST(VectorAlloc, RefusalsLeaveTheCallersPointer) {
    sarvo_vector sentinel = {};
    sarvo_vector *v = &sentinel;
    expect_error(sarvo_vector_alloc(nullptr, 0, 0, 1), SarvoNullEC, {"Input structure is not initialized"});
    for (const uint32_t id : invalid_dtypes)
        expect_error(sarvo_vector_alloc(&v, id, 0, UINT64_MAX), SarvoDtypeEC, {invalid(id)});
    for (const uint64_t length : test::huge_sizes)
        expect_error(sarvo_vector_alloc(&v, SARVO_DOUBLE, 0, length), 0, {overflow()});
    expect_error(sarvo_vector_alloc(&v, 1, 0, 1ull << 63), 0, {"Cannot allocate 9223372036854775808 bytes."});
    EXPECT_EQ(v, &sentinel);
    expect_success(sarvo_vector_alloc(&v, SARVO_DOUBLE, UINT64_MAX, 1)); // the count argument means nothing
    EXPECT_EQ(v->length, 1u);
    sarvo_vector_free(v);
    sarvo_vector_free(nullptr);
}

TEST(VectorRealloc, GrowsExactlyWithZerosAndShrinksWithoutLosingCapacity) {
    Vector x(Doubles{1, 2, 3});
    expect_success(sarvo_vector_realloc(&x.v, SARVO_DOUBLE, 0, 5));
    EXPECT_EQ(x.doubles(), (Doubles{1, 2, 3, 0, 0}));
    EXPECT_EQ(x.v->capacity, 5u);
    test::at(x.v, 4) = 9;
    const void *block = x.v->data;
    expect_success(sarvo_vector_realloc(&x.v, SARVO_DOUBLE, 0, 3));
    EXPECT_EQ(x.v->length, 3u);
    EXPECT_EQ(x.v->capacity, 5u);
    expect_success(sarvo_vector_realloc(&x.v, SARVO_DOUBLE, as_dtype, 5));
    EXPECT_EQ(x.doubles(), (Doubles{1, 2, 3, 0, 0})) << "regrown elements are zeroed again";
    EXPECT_EQ(x.v->data, block);
    expect_success(sarvo_vector_realloc(&x.v, SARVO_DOUBLE, 0, 0));
    EXPECT_EQ(x.v->capacity, 5u);
    EXPECT_EQ(x.v->data, block);
}

TEST(VectorRealloc, NullIsAllocatedWithTheRequestedId) {
    Vector x;
    expect_error(sarvo_vector_realloc(&x.v, 25, 0, 1), SarvoDtypeEC, {invalid(25)});
    EXPECT_EQ(x.v, nullptr);
    expect_success(sarvo_vector_realloc(&x.v, 3, 0, 4));
    EXPECT_EQ(x.v->dtype, 3u);
    EXPECT_EQ(x.v->length, 4u);
    expect_error(sarvo_vector_realloc(nullptr, 3, 0, 4), SarvoNullEC, {"Input structure is not initialized"});
}

TEST(VectorRealloc, TheFlagDecidesWhetherAnotherIdIsKept) {
    Vector x(std::vector<int32_t>{4, 5});
    for (const uint32_t flags : {0u, 2u, ~as_dtype}) {
        expect_success(sarvo_vector_realloc(&x.v, SARVO_DOUBLE, flags, 2 + flags % 5));
        EXPECT_EQ(x.v->dtype, static_cast<uint32_t>(SARVO_INT32));
        EXPECT_EQ(x.ints()[1], 5);
    }
    expect_success(sarvo_vector_realloc(&x.v, 99, 0, 3)); // not even looked at
    EXPECT_EQ(x.v->dtype, static_cast<uint32_t>(SARVO_INT32));
    expect_success(sarvo_vector_realloc(&x.v, SARVO_DOUBLE, 3, 3));
    EXPECT_EQ(x.v->dtype, static_cast<uint32_t>(SARVO_DOUBLE));
    EXPECT_EQ(x.doubles(), (Doubles{0, 0, 0})) << "made anew";
    EXPECT_EQ(x.v->capacity, 3u);
    expect_error(sarvo_vector_realloc(&x.v, 25, as_dtype, 3), SarvoDtypeEC, {invalid(25)});
    EXPECT_EQ(x.v, nullptr) << "freed before the new one was refused";
}

TEST(VectorRealloc, ARecordOfAnInvalidIdIsMadeAnew) {
    for (const uint32_t id : invalid_dtypes) {
        Vector x(Doubles{1, 2});
        x.v->dtype = id;
        expect_success(sarvo_vector_realloc(&x.v, SARVO_INT32, 0, 2));
        EXPECT_EQ(x.ints(), (std::vector<int32_t>{0, 0}));
    }
}

TEST(VectorRealloc, RefusedGrowthKeepsTheVector) {
    Vector x(Doubles{1, 2});
    for (const uint64_t length : test::huge_sizes)
        expect_error(sarvo_vector_realloc(&x.v, SARVO_DOUBLE, 0, length), SarvoOverflowEC,
                     {"Too large size " + std::to_string(length)});
    expect_error(sarvo_vector_realloc(&x.v, SARVO_DOUBLE, 0, 1ull << 60), 0,
                 {"Cannot allocate 9223372036854775808 bytes."});
    EXPECT_EQ(x.doubles(), (Doubles{1, 2}));
    EXPECT_EQ(x.v->capacity, 2u);
}

TEST(VectorCopy, CopiesPartsToPlaces) {
    struct Case {
        uint64_t source_offset, count, destination_offset;
        Doubles destination, expected;
    };
    const Case cases[] = {
        {2, 0, 0, {}, {3, 4, 5}}, // 0 means to the end
        {0, 2, 1, {}, {0, 1, 2}},
        {1, 2, 0, {9, 9, 9, 9}, {2, 3, 9, 9}},    // longer destinations are kept
        {0, 2, 3, {9, 9, 9, 9}, {9, 9, 9, 1, 2}}, // shorter ones grow
        {5, 0, 2, {9}, {9, 0}},                   // nothing to copy, but the offset must be there
        {5, 0, 0, {}, {}},
        {4, 1, 0, {9}, {5}},
    };
    const Vector source(Doubles{1, 2, 3, 4, 5});
    for (const Case &c : cases) {
        Vector to;
        if (!c.destination.empty()) to.v = test::vector_of(c.destination);
        expect_success(sarvo_vector_copy(source.v, c.source_offset, c.count, &to.v, c.destination_offset));
        EXPECT_EQ(to.doubles(), c.expected);
        EXPECT_EQ(to.v->dtype, static_cast<uint32_t>(SARVO_DOUBLE));
    }
}

TEST(VectorCopy, OntoItselfOverlapsSafelyAndMayGrow) {
    Vector x(Doubles{1, 2, 3, 4});
    expect_success(sarvo_vector_copy(x.v, 0, 3, &x.v, 1));
    EXPECT_EQ(x.doubles(), (Doubles{1, 1, 2, 3}));
    expect_success(sarvo_vector_copy(x.v, 1, 0, &x.v, 0));
    EXPECT_EQ(x.doubles(), (Doubles{1, 2, 3, 3}));
    expect_success(sarvo_vector_copy(x.v, 0, 0, &x.v, 4));
    EXPECT_EQ(x.doubles(), (Doubles{1, 2, 3, 3, 1, 2, 3, 3}));
}

TEST(VectorCopy, ADestinationOfAnotherIdIsMadeAnewAtTheNeededLength) {
    const Vector source(std::vector<int32_t>{7, 8});
    Vector to(Doubles{1, 2, 3, 4, 5});
    expect_success(sarvo_vector_copy(source.v, 0, 0, &to.v, 1));
    EXPECT_EQ(to.v->dtype, static_cast<uint32_t>(SARVO_INT32));
    EXPECT_EQ(to.ints(), (std::vector<int32_t>{0, 7, 8}));
}

TEST(VectorCopy, RefusesInOrder) {
    Vector source(Doubles{1, 2, 3}), to;
    expect_error(sarvo_vector_copy(nullptr, 9, 0, &to.v, 0), SarvoNullEC, {"Input structure is not initialized"});
    expect_error(sarvo_vector_copy(source.v, 9, 0, nullptr, 0), SarvoNullEC, {"Input structure is not initialized"});
    struct Case {
        uint64_t offset, count;
    };
    for (const Case c :
         {Case{0, 4}, {1, 3}, {3, 1}, {4, 0}, {UINT64_MAX, 0}, {UINT64_MAX, 1}, {1, UINT64_MAX}, {2, UINT64_MAX - 1}})
        expect_error(sarvo_vector_copy(source.v, c.offset, c.count, &to.v, UINT64_MAX), SarvoSizeEC,
                     {"Incorrect size"});
    expect_error(sarvo_vector_copy(source.v, 0, 3, &to.v, UINT64_MAX - 2), SarvoOverflowEC, {"Overflow error"});
    EXPECT_EQ(to.v, nullptr);
    expect_error(sarvo_vector_copy(source.v, 0, 3, &to.v, 1ull << 61), 0, {overflow()});
    source.v->dtype = 25;
    expect_error(sarvo_vector_copy(source.v, 9, 0, &to.v, 0), SarvoDtypeEC, {invalid(25)});
    source.v->dtype = SARVO_DOUBLE;
}

TEST(VectorCopy, OtherIdsFailAfterTheDestinationWasPrepared) {
    for (uint32_t id = 1; id < SARVO_DTYPES; id++) {
        if (id == SARVO_INT32 || id == SARVO_DOUBLE) continue;
        const Vector source(id, 3);
        Vector to(Doubles{1});
        expect_error(sarvo_vector_copy(source.v, 1, 0, &to.v, 2), SarvoDtypeEC, {unimplemented(id)});
        EXPECT_EQ(to.v->dtype, id);
        EXPECT_EQ(to.v->length, 4u);
    }
}

TEST(VectorZero, ZeroesElementsInUseOfEveryId) {
    for (uint32_t id = 1; id < SARVO_DTYPES; id++) {
        Vector x(id, 4);
        memset(x.v->data, 0x77, 4 * SarvoDtype[id]);
        x.v->length = 3;
        expect_success(sarvo_vector_zero(x.v));
        const char *data = static_cast<char *>(x.v->data);
        for (uint64_t i = 0; i < 4 * SarvoDtype[id]; i++) EXPECT_EQ(data[i], i < 3 * SarvoDtype[id] ? 0 : 0x77) << id;
    }
    Vector empty(SARVO_DOUBLE, 0);
    expect_success(sarvo_vector_zero(empty.v));
    expect_error(sarvo_vector_zero(nullptr), SarvoNullEC, {"Input structure is not initialized"});
    empty.v->dtype = 0;
    expect_error(sarvo_vector_zero(empty.v), SarvoDtypeEC, {invalid(0)});
}

} // namespace
