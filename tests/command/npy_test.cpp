// .npy files: every type, order and version read, every broken one refused at its byte, and what is written.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "command_support.h"
#include "data/npy.h"
#include "npy_support.h"
#include "test_support.h"

namespace {

using test::bytes_of;
using test::npy;
using test::npy_header;

template <class T> void expect_type(const std::string &name, const std::vector<T> &numbers) {
    for (const bool swapped : {false, true}) {
        const std::string type = (swapped ? ">" : "<") + name;
        const std::string shape = "(" + std::to_string(numbers.size()) + ",)";
        const std::string file = npy(npy_header(type, shape), bytes_of(numbers, swapped));
        const command::NpyView view(file, "data");
        ASSERT_EQ(view.rows(), numbers.size()) << type;
        EXPECT_EQ(view.cols(), 1u) << type;
        EXPECT_FALSE(view.complex()) << type;
        for (size_t i = 0; i < numbers.size(); i++)
            EXPECT_EQ(test::bits(view.real(i, 0)), test::bits(static_cast<double>(numbers[i]))) << type << " " << i;
    }
}

template <class T> void expect_integers(const std::string &name) {
    expect_type<T>(name, {0, 1, 2, 100, std::numeric_limits<T>::min(), std::numeric_limits<T>::max(),
                          static_cast<T>(std::numeric_limits<T>::max() - 1)});
}

TEST(Npy, ReadsEveryTypeInBothByteOrders) {
    expect_type<double>("f8", {0.1, -0.0, 5e-324, 1.7976931348623157e308, HUGE_VAL});
    expect_type<float>("f4", {0.1f, -0.0f, 1e-45f, 3.4e38f, -HUGE_VALF});
    expect_integers<int8_t>("i1");
    expect_integers<int16_t>("i2");
    expect_integers<int32_t>("i4");
    expect_integers<int64_t>("i8");
    expect_integers<uint8_t>("u1");
    expect_integers<uint16_t>("u2");
    expect_integers<uint32_t>("u4");
    expect_integers<uint64_t>("u8");
    expect_type<uint8_t>("b1", {0, 1, 1, 0});
    expect_type<int64_t>("i8", {9007199254740993, 9007199254740995}); // halfway: to the even neighbour
}

TEST(Npy, ReadsHalfPrecisionExactly) {
    const struct {
        uint16_t bits;
        double value;
    } rows[] = {{0x3C00, 1},
                {0xC000, -2},
                {0x7BFF, 65504},
                {0x0001, 5.960464477539063e-08},
                {0x03FF, 6.097555160522461e-05},
                {0x0400, 6.103515625e-05},
                {0x3555, 0.333251953125},
                {0x8000, -0.0},
                {0x7C00, HUGE_VAL},
                {0xFC00, -HUGE_VAL}};
    for (const auto &row : rows)
        for (const bool swapped : {false, true}) {
            const std::string file =
                npy(npy_header(swapped ? ">f2" : "<f2", "()"), bytes_of(std::vector<uint16_t>{row.bits}, swapped));
            EXPECT_EQ(test::bits(command::NpyView(file, "data").real(0, 0)), test::bits(row.value)) << row.bits;
        }
    EXPECT_TRUE(std::isnan(command::NpyView(npy(npy_header("<f2", "()"), "\x01\x7c"), "data").real(0, 0)));
}

TEST(Npy, ReadsComplexNumbersAndFortranOrder) {
    const std::vector<double> numbers = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    const std::string file = npy(npy_header(">c16", "(2, 3)", true), bytes_of(numbers, true));
    const command::NpyView view(file, "data");
    ASSERT_TRUE(view.complex());
    for (size_t i = 0; i < 2; i++)
        for (size_t j = 0; j < 3; j++) {
            EXPECT_EQ(view.real(i, j), numbers[2 * (j * 2 + i)]);
            EXPECT_EQ(view.imaginary(i, j), numbers[2 * (j * 2 + i) + 1]);
        }
    const std::string small = npy(npy_header("<c8", "(1, 2)"), bytes_of<float>({1.5f, 2.5f, 3.5f, 4.5f}));
    EXPECT_EQ(command::NpyView(small, "data").imaginary(0, 1), 4.5);
    EXPECT_EQ(command::NpyView(small, "data").form(), "NumPy array, <c8");
}

TEST(Npy, ReadsHeadersOfEveryVersionAndSpelling) {
    const std::string two = bytes_of<double>({1, 2});
    const std::string headers[] = {
        "{'descr': '<f8', 'fortran_order': False, 'shape': (2,), }          \n",
        "{\"shape\":(2,),\"fortran_order\":True,\"descr\":\"<f8\"}",
        " { 'fortran_order' : False , 'shape' : ( 2 , ) , 'descr' : '<f8' } \t\r\n",
        "{'descr': '<f8', 'fortran_order': False, 'shape': (2L,)}",
        "{'descr': '<f8', 'fortran_order': False, 'shape': (2, 1,)}",
    };
    for (const std::string &header : headers)
        for (const int major : {1, 2, 3}) {
            const std::string file = npy(header, two, major);
            const command::NpyView view(file, "data");
            EXPECT_EQ(view.rows(), 2u) << header;
            EXPECT_EQ(view.real(1, 0), 2.0) << header;
        }
    const std::string empty = npy(npy_header("<f8", "(0, 18446744073709551615)"), "");
    EXPECT_EQ(command::NpyView(empty, "data").rows(), 0u);
}

TEST(Npy, RefusesBrokenFilesAtTheirByte) {
    const std::string one = bytes_of<double>({1});
    const auto shaped = [&](const std::string &shape, const std::string &data) {
        return npy(npy_header("<f8", shape), data);
    };
    const auto typed = [&](const std::string &type) { return npy(npy_header(type, "()"), one); };
    const struct {
        std::string bytes, message;
    } rows[] = {
        {"1,2\n", "data: byte 0: this is not a .npy file"},
        {"\x93NUMPY\1", "data: byte 7: the file ends in the header"},
        {std::string("\x93NUMPY\2\0\1", 9), "data: byte 9: the file ends in the header"},
        {std::string("\x93NUMPY\4\0\0\0\0\0", 12), "data: byte 6: version 4.0 is not known: 1.0, 2.0 and 3.0 are"},
        {std::string("\x93NUMPY\1\1\0\0", 10), "data: byte 6: version 1.1 is not known"},
        {std::string("\x93NUMPY\2\0\xff\xff\xff\xff{}", 14),
         "data: byte 8: a header of 4294967295 bytes is announced, 2 follow"},
        {npy("", ""), "data: byte 10: the header is a dictionary"},
        {npy("[1]", ""), "data: byte 10: the header is a dictionary"},
        {npy("{}", ""), "data: byte 12: the header has no key 'descr'"},
        {npy("{'descr': '<f8', 'shape': ()}", ""), "the header has no key 'fortran_order'"},
        {npy("{'descr': '<f8', 'descr': '<f8'}", ""), "data: byte 27: the key 'descr' occurs twice"},
        {npy("{'order': 1}", ""), "data: byte 11: 'order' is not a key of the header"},
        {npy("{descr: '<f8'}", ""), "data: byte 11: a key in quotes is wanted here"},
        {npy("{'descr", "'}"), "data: byte 11: this quote is not closed"},
        {npy("{'descr' '<f8'}", ""), "data: byte 19: ':' is wanted here"},
        {npy("{'descr': '<f8' 'shape': ()}", ""), "data: byte 26: ',' or '}' is wanted here"},
        {npy("{'descr': [('a', '<f8')]}", ""), "data: byte 20: records of several fields are not read"},
        {npy("{'descr': f8}", ""), "data: byte 20: the type is wanted here, in quotes"},
        {npy("{'fortran_order': 1}", ""), "data: byte 28: True or False is wanted here"},
        {npy(npy_header("<f8", "()") + "x", one), "the dictionary has ended, only blanks may follow"},
        {typed("<f16"), "data: byte 20: '<f16' is not a type that is read"},
        {typed("|f8"), "'|f8' is not a type that is read"},
        {typed("f8"), "'f8' is not a type that is read"},
        {typed("|O"), "'|O' is not a type that is read"},
        {typed("<U2"), "'<U2' is not a type that is read"},
        {typed(""), "'' is not a type that is read"},
        {shaped("(1)", one), "a list has the shape (n,), with a comma"},
        {shaped("1", one), "the shape is wanted here, '('"},
        {shaped("(-1,)", one), "data: byte 61: a size is wanted here, a number without sign"},
        {shaped("(1,,)", one), "a size is wanted here"},
        {shaped("(1 1)", one), "',' or ')' is wanted here"},
        {shaped("(1, 1, 1)", one), "the array has more than two dimensions"},
        {shaped("(18446744073709551616,)", one), "the size is too large"},
        {shaped("(4294967296, 4294967296)", one),
         "data: byte 60: an array of 4294967296 x 4294967296 does not fit into the file: 8 bytes follow the header"},
        {shaped("(2305843009213693953,)", one), "an array of 2305843009213693953 does not fit into the file"},
        {shaped("(2,)", one + "1234567"), "an array of 2 does not fit into the file: 15 bytes follow the header"},
        {shaped("()", "1234567"), "the file ends before the number is complete"},
        {shaped("(1,)", one + "12"), "data: byte 76: 2 bytes follow the last number"},
        {shaped("(0,)", one), "data: byte 68: 8 bytes follow the last number"},
        {npy(npy_header("|b1", "(3,)"), std::string("\0\2\1", 3)), "data: byte 69: a truth value is 0 or 1"},
    };
    for (const auto &row : rows) {
        try {
            const command::NpyView view(row.bytes, "data");
            ADD_FAILURE() << "was read: " << row.message;
        } catch (const command::Failure &e) {
            EXPECT_NE(std::string(e.what()).find(row.message), std::string::npos)
                << e.what() << ", not " << row.message;
            EXPECT_EQ(e.code(), command::exit_input);
        }
    }
}

TEST(Npy, WritesTheFormThatNumPyWrites) {
    const std::string path = testing::TempDir() + "sarvo_npy_" + std::to_string(getpid()) + ".npy";
    const std::vector<double> numbers = {0.1, -0.0, NAN, 4, 5, 6};
    const struct {
        std::vector<uint64_t> shape;
        bool complex;
        const char *dictionary;
    } rows[] = {
        {{6}, false, "{'descr': '<f8', 'fortran_order': False, 'shape': (6,), }"},
        {{2, 3}, false, "{'descr': '<f8', 'fortran_order': False, 'shape': (2, 3), }"},
        {{3}, true, "{'descr': '<c16', 'fortran_order': False, 'shape': (3,), }"},
    };
    for (const auto &row : rows) {
        command::NpyWriter writer(path, row.shape, row.complex);
        writer.write(std::span(numbers).first(2)); // in blocks of any size
        writer.write(std::span(numbers).subspan(2));
        writer.finish();
        const std::string file = test::cli::slurp(path), dictionary = row.dictionary;
        const std::string padding(117 - dictionary.size(), ' ');
        EXPECT_EQ(file.substr(0, 128), std::string("\x93NUMPY\1\0\x76\0", 10) + dictionary + padding + "\n");
        EXPECT_EQ(file.substr(128), bytes_of(numbers));
        const command::NpyView view(file, "data");
        EXPECT_EQ(view.rows(), row.shape[0]);
        EXPECT_EQ(view.complex(), row.complex);
    }
    command::write_npy(path, {}, std::span(numbers).first(1));
    const std::string file = test::cli::slurp(path);
    EXPECT_EQ(command::NpyView(file, "data").dimensions(), 0u);
    EXPECT_EQ(command::NpyView(file, "data").real(0, 0), 0.1);
    std::remove(path.c_str());
    const uint64_t huge[] = {UINT64_MAX, 2}, list[] = {1u << 20};
    EXPECT_THROW(command::write_npy("no such folder/a.npy", list, {}), command::Failure);
    EXPECT_THROW(command::NpyWriter(path, huge), command::Failure);
}

TEST(Npy, NamesTheDiskThatIsFull) {
    if (!std::fopen("/dev/full", "wb")) GTEST_SKIP() << "there is no /dev/full";
    const std::vector<double> block(1 << 16);
    const uint64_t shape[] = {block.size()};
    try {
        command::write_npy("/dev/full", shape, block);
        ADD_FAILURE() << "nothing failed";
    } catch (const command::Failure &e) {
        EXPECT_EQ(e.code(), command::exit_file);
        EXPECT_EQ(std::string(e.what()).rfind("/dev/full: cannot be written: ", 0), 0u) << e.what();
    }
}

} // namespace
