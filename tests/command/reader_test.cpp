// Tables from text: separators, headers, comments, and faults named by line and column.
#include <cstdio>
#include <string>
#include <vector>

#include "data/table.h"
#include "errors.h"
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
        {"1,2\n3,0x10\n", "data:2:3: '0x10' is not a number (column 'c2')\n  3,0x10\n    ^"},
        {"1,b\n3,4\n", "data:1:3: 'b' is not a number (column 'c2')\n  1,b\n    ^"},
        {"y,y\n1,2\n", "data:1:3: the column name 'y' occurs twice\n  y,y\n    ^"},
        {"y,x\n\"1,2\n", "data:2:1: this quote is not closed\n  \"1,2\n  ^"},
        {"y,x\n\"1\"2,3\n", "data:2:4: text behind a quoted cell\n  \"1\"2,3\n     ^"},
        {"y\tx\n1\tq\n", "data:2:3: 'q' is not a number (column 'x')\n  1\tq\n   \t^"},
    };
    for (const auto &row : rows) EXPECT_EQ(error_of(row.text), row.message) << row.text;
    EXPECT_EQ(error_of(std::string("1,2\n3,\0004\n", 9)), "data: this is not a text file");
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
