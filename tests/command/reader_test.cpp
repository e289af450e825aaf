// Tables from text: separators, headers, comments, and faults named by line and column.
#include <cmath>
#include <string>
#include <vector>

#include "command_support.h"
#include "data/table.h"
#include "errors.h"
#include "npy_support.h"
#include "test_support.h"

namespace {

using Columns = std::vector<std::vector<double>>;

TEST(Reader, ReadsEveryUsualForm) {
    const struct {
        const char *what;
        std::string text;
        std::vector<std::string> names;
        Columns columns;
    } rows[] = {
        {"commas and a header", "y,x\n1,2\n3,4\n", {"y", "x"}, {{1, 3}, {2, 4}}},
        {"no header", "1,2\n3,4\n", {"c1", "c2"}, {{1, 3}, {2, 4}}},
        {"no newline at the end", "1,2\n3,4", {"c1", "c2"}, {{1, 3}, {2, 4}}},
        {"semicolons", "y;x\n1;2\n", {"y", "x"}, {{1}, {2}}},
        {"tabs", "y\tx\n1\t2\n", {"y", "x"}, {{1}, {2}}},
        {"blanks of any width", "  y    x \n\t1  2\n 3\t\t4 \n", {"c1", "c2"}, {}}, // replaced below
        {"one column", "7\n8\n", {"c1"}, {{7, 8}}},
        {"carriage returns", "y,x\r\n1,2\r\n", {"y", "x"}, {{1}, {2}}},
        {"a byte order mark", "\xEF\xBB\xBFy,x\n1,2\n", {"y", "x"}, {{1}, {2}}},
        {"comments and blank lines", "# a\n\n%b\n  # c\ny,x\n\n1,2\n# d\n3,4\n", {"y", "x"}, {{1, 3}, {2, 4}}},
        {"quotes", "\"a,b\",\"c \"\"d\"\"\"\n\"1\", \"2\" \n", {"a,b", "c \"d\""}, {{1}, {2}}},
        {"blanks around cells", " y , x \n 1 , 2 \n", {"y", "x"}, {{1}, {2}}},
        {"signs and exponents", "+1,-2.5e-3\n.5,1E+2\n", {"c1", "c2"}, {{1, 0.5}, {-2.5e-3, 100}}},
    };
    for (const auto &row : rows) {
        if (row.columns.empty()) continue;
        const command::Table t = command::parse_table(row.text, "data");
        EXPECT_EQ(t.names, row.names) << row.what;
        EXPECT_EQ(t.columns, row.columns) << row.what;
    }
    const command::Table blanks = command::parse_table("  y    x \n 1  2\n 3     4 \n", "data");
    EXPECT_EQ(blanks.names, (std::vector<std::string>{"y", "x"}));
    EXPECT_EQ(blanks.columns, (Columns{{1, 3}, {2, 4}}));
    EXPECT_EQ(command::parse_table("# c\n\ny,x\n1,2\n\n3,4\n", "data").lines, (std::vector<size_t>{4, 6}));
}

TEST(Reader, FindsColumnsByNameAndNumber) {
    const command::Table t = command::parse_table("y,x 1\n1,2\n", "data");
    EXPECT_EQ(t.find("x 1"), 1u);
    EXPECT_EQ(t.find("$1"), 0u);
    EXPECT_EQ(t.find("$2"), 1u);
    for (const char *missing : {"", "$", "$0", "$3", "$1.5", "$-1", "$x", "z", "Y"})
        EXPECT_FALSE(t.find(missing)) << missing;
}

std::string error_of(const std::string &text) {
    try {
        command::parse_table(text, "data");
    } catch (const command::Failure &e) {
        EXPECT_EQ(e.code(), command::exit_input);
        return e.what();
    }
    return "no error";
}

TEST(Reader, NamesBadCellsByFileLineAndColumn) {
    const struct {
        const char *text;
        const char *message;
    } rows[] = {
        {"", "data: there is no data"},
        {"# only\n\n", "data: there is no data"},
        {"y,x\n", "data: there is a header but no data"},
        {"y,x\n1,2\n3\n", "data:3:2: the row has 1 cells, the first has 2\n  3\n   ^"},
        {"y,x\n1,2,7\n", "data:2:5: the row has 3 cells, the first has 2\n  1,2,7\n      ^"},
        {"y,x\n1,abc\n", "data:2:3: 'abc' is not a number (column 'x')\n  1,abc\n    ^"},
        {"y,x\n\n# c\n1,\n", "data:4:3: the cell is empty (column 'x')\n  1,\n    ^"},
        {"y,x\n1,nan\n", "data:2:3: 'nan' is not finite (column 'x')\n  1,nan\n    ^"},
        {"1,2\n3,-inf\n", "data:2:3: '-inf' is not finite (column 'c2')\n  3,-inf\n    ^"},
        {"y,x\n1,1e999\n", "data:2:3: '1e999' is not a number (column 'x')\n  1,1e999\n    ^"},
        {"1,2\n3,+-4\n", "data:2:3: '+-4' is not a number (column 'c2')\n  3,+-4\n    ^"},
        {"1,2\n3,0x10\n", "data:2:3: '0x10' is not a number (column 'c2')\n  3,0x10\n    ^"},
        {"1,b\n3,4\n", "data:1:3: 'b' is not a number (column 'c2')\n  1,b\n    ^"},
        {"%%MatrixMarket matrix array real general\n2 1\n1\n2\n",
         "data: this is a Matrix Market file, a table is wanted"},
        {"y,y\n1,2\n", "data:1:3: the column name 'y' occurs twice\n  y,y\n    ^"},
        {"y,x\n\"1,2\n", "data:2:1: this quote is not closed\n  \"1,2\n  ^"},
        {"y,x\n\"1\"2,3\n", "data:2:4: text behind a quoted cell\n  \"1\"2,3\n     ^"},
        {"y\tx\n1\tq\n", "data:2:3: 'q' is not a number (column 'x')\n  1\tq\n   \t^"},
    };
    for (const auto &row : rows) EXPECT_EQ(error_of(row.text), row.message) << row.text;
    EXPECT_EQ(error_of(std::string("1,2\n3,\0004\n", 9)), "data: this is not a text file");
}

TEST(Reader, ReadsNpyAsTables) {
    const std::string matrix = test::npy(test::npy_header("<f8", "(3, 2)"), test::bytes_of<double>({1, 2, 3, 4, 5, 6}));
    const command::Table t = command::parse_table(matrix, "data");
    EXPECT_EQ(t.names, (std::vector<std::string>{"c1", "c2"}));
    EXPECT_EQ(t.columns, (Columns{{1, 3, 5}, {2, 4, 6}}));
    EXPECT_EQ(t.lines, (std::vector<size_t>{1, 2, 3}));
    EXPECT_EQ(command::parse_table(test::npy(test::npy_header("|i1", "(2,)"), "\1\2"), "data").columns,
              (Columns{{1, 2}}));
    const auto answer = test::cli::sarvo("stats - --format csv --quantiles 0.5", matrix);
    EXPECT_EQ(answer.exit_code, 0) << answer.err;
    EXPECT_NE(answer.out.find("\nc2,3,4,2,"), std::string::npos) << answer.out;
    const struct {
        std::string header, data, message;
    } rows[] = {
        {test::npy_header("<c8", "(1,)"), std::string(8, '\0'), "data: the numbers are complex, a table has real ones"},
        {test::npy_header("<f8", "(0, 18446744073709551615)"), "", "data: there is no data"},
        {test::npy_header("|u1", "(1, 1048577)"), std::string(1048577, '\0'),
         "data: has 1048577 columns, 1048576 are the most"},
        {test::npy_header("<f8", "(1,)"), test::bytes_of<double>({HUGE_VAL}),
         "data: byte 68: the number is not finite"},
    };
    for (const auto &row : rows) EXPECT_EQ(error_of(test::npy(row.header, row.data)), row.message);
    EXPECT_EQ(error_of("\x93,x\n1,q\n"), "data:2:3: 'q' is not a number (column 'x')\n  1,q\n    ^");
}

TEST(Reader, MessagesShowLongAndStrangeLinesFitForATerminal) {
    EXPECT_EQ(error_of("1,2\n3,\x1b[31m\x7f\xc2\x9b\n"),
              "data:2:3: '?[31m?\?\?' is not a number (column 'c2')\n  3,?[31m?\?\?\n    ^");
    std::string wide = "1";
    for (int i = 0; i < 500; i++) wide += ",1";
    const std::string message = error_of(wide + "\n" + wide.substr(0, 600) + "x" + wide.substr(601) + "\n");
    EXPECT_EQ(message.rfind("data:2:601: 'x' is not a number (column 'c301')\n  ...", 0), 0u) << message;
    EXPECT_EQ(message.size() - message.rfind('\n') - 1, 2 + 3 + 80 + 1u) << "the caret stands under the place";
    EXPECT_LT(message.size(), 500u);
    EXPECT_EQ(error_of("1\n" + std::string(100000, 'x')).find("'" + std::string(57, 'x') + "...' is not a number"),
              10u);
}

// Every kind of reader: what was read before the error must not pass for the whole.
TEST(Reader, TakesAnErrorOfReadingForNoEnd) {
    const std::string market = "%%MatrixMarket matrix array real general\n2 2\n1\n2\n3\n4\n";
    const std::string npy =
        test::npy(R"({'descr': '<f8', 'fortran_order': False, 'shape': (2,), })", std::string(16, '\0'));
    std::string rows = "y,x\n";
    for (int i = 1; i <= 5000; i++) rows += std::to_string(3 * i) + "," + std::to_string(i) + "\n";
    const struct {
        const char *arguments;
        std::string input;
    } readers[] = {
        {"stats -", "1,2\n3,4\n"},
        {"stats -", rows},
        {"stats - --columns x --plot -", "y,x\n1,2\n3,4"},
        {"stats -", npy},
        {"stats -", ""},
        {"fit 'y ~ a*x' - --start a=1", rows},
        {"interp - --at 2", rows},
        {"svd -", market},
        {"inv -", "1,2\n3,4\n"},
        {"cond -", npy},
        {"solve -", market},
        {"fft -", "1\n2\n3\n4\n"},
        {"conv - elsewhere.txt", "1\n2\n"},
    };
    for (const auto &reader : readers) {
        const test::cli::Answer broken = test::cli::sarvo_on_broken_connection(reader.arguments, reader.input);
        EXPECT_EQ(broken.exit_code, 4) << reader.arguments << broken.err;
        EXPECT_EQ(broken.out, "") << reader.arguments;
        EXPECT_EQ(broken.err, "sarvo: standard input: cannot be read: Connection reset by peer\n") << reader.arguments;
        const test::cli::Answer folder = test::cli::sarvo(std::string(reader.arguments) + " </", reader.input);
        EXPECT_EQ(folder.exit_code, 4) << reader.arguments << folder.err;
        EXPECT_EQ(folder.out, "") << reader.arguments;
        EXPECT_EQ(folder.err, "sarvo: standard input: cannot be read: Is a directory\n") << reader.arguments;
    }
}

TEST(Reader, NamesFilesThatCannotBeRead) {
    for (const char *path : {"no such file.csv", "."}) {
        try {
            (void)command::read_table(path);
            ADD_FAILURE() << path << " was read";
        } catch (const command::Failure &e) {
            EXPECT_EQ(e.code(), command::exit_file);
            EXPECT_EQ(std::string(e.what()).rfind(std::string(path) + ": cannot be ", 0), 0u) << e.what();
        }
    }
}

} // namespace
