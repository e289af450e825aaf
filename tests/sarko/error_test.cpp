// Error objects: codes, messages, wrapping, composing, reporting, malfunctions, start-up and shut-down, threads.
#include <sarko/sarko.h>

#include <stdlib.h>

#include <thread>

#include "test_support.h"

namespace {

sarko_error_t make(uint32_t code, const char *text, int32_t kind = SARKO_KIND_ERROR) {
    return sarko_error_create_i(kind, code, 0, 0, 0, 0, text);
}

sarko_error_t wrap(sarko_error_t e, const char *text) { return sarko_error_quick_wrap_i(0, 0, 0, e, text); }

// What the handler prints.
std::string printed(sarko_error_t e, sarko_error_handler handler) {
    char *text = nullptr;
    size_t length = 0;
    FILE *stream = open_memstream(&text, &length);
    EXPECT_EQ(sarko_error_handle(e, handler, stream), e);
    fclose(stream);
    const std::string out(text, length);
    free(text);
    return out;
}

// Stops the library for a test of the kernel library alone, and starts it again.
class Stopped {
public:
    Stopped() { sarvo_terminate(); }
    ~Stopped() {
        while (sarko_error_code_message(1)) sarko_terminate();
        EXPECT_EQ(sarvo_initialize(), 0);
    }
};

TEST(Error, OwnTextStandsBeforeTheRegisteredMessage) {
    struct Case {
        uint32_t code;
        const char *text, *message;
    };
    const Case cases[] = {
        {SarvoSizeEC, nullptr, "Incorrect size"},
        {SarvoSizeEC, "own", "own"},
        {SarvoSizeEC, "", ""},
        {0, nullptr, "Unknown error"},
        {0, "own", "own"},
        {4097, nullptr, "Unknown error"},
    };
    for (const Case &c : cases) {
        const sarko_error_t e = make(c.code, c.text);
        EXPECT_EQ(sarko_error_code(e), c.code);
        EXPECT_EQ(sarko_error_kind(e), SARKO_KIND_ERROR);
        EXPECT_STREQ(sarko_error_message(e), c.message);
        EXPECT_EQ(sarko_error_cause(e), 0u);
        EXPECT_EQ(sarko_error_clear(e), 0u);
    }
}

TEST(Error, TextIsCopied) {
    char text[] = "first";
    const sarko_error_t e = make(0, text);
    text[0] = 'F';
    EXPECT_STREQ(sarko_error_message(e), "first");
    sarko_error_clear(e);
}

TEST(Error, SuccessHasNeutralProperties) {
    EXPECT_EQ(sarko_error_code(0), 0u);
    EXPECT_EQ(sarko_error_kind(0), 0);
    EXPECT_STREQ(sarko_error_message(0), "Success");
    EXPECT_EQ(sarko_error_cause(0), 0u);
    EXPECT_EQ(sarko_error_clear(0), 0u);
    EXPECT_EQ(wrap(0, "text"), 0u);
    EXPECT_EQ(sarko_error_compose_create(0, 1), 0u);
    EXPECT_EQ(printed(0, nullptr), "");
}

TEST(Error, FormattedTextsOfAnyLength) {
    const std::string word(5000, 'x');
    const sarko_error_t e =
        sarko_error_createf_i(SARKO_KIND_MALFUNCTION, SarvoSizeEC, 0, 0, 0, 0, "%zu %d %s", SIZE_MAX, -7, word.c_str());
    EXPECT_EQ(sarko_error_kind(e), SARKO_KIND_MALFUNCTION);
    EXPECT_EQ(sarko_error_message(e), "18446744073709551615 -7 " + word);
    sarko_error_clear(e);
    const char *no_format = nullptr;
    test::expect_error(sarko_error_createf_i(0, SarvoSizeEC, 0, 0, 0, 0, no_format, 0), SarvoSizeEC,
                       {"Incorrect size"});
}

TEST(Error, WrapKeepsCodeAndKindAndOwnsItsCause) {
    const sarko_error_t root = make(SarvoNullEC, nullptr, SARKO_KIND_MEMORY);
    const sarko_error_t middle = wrap(root, "middle");
    const sarko_error_t outer = wrap(middle, nullptr);
    EXPECT_EQ(sarko_error_code(outer), SarvoNullEC);
    EXPECT_EQ(sarko_error_kind(outer), SARKO_KIND_MEMORY);
    EXPECT_STREQ(sarko_error_message(outer), "middle") << "without a text: that of the wrapped error";
    EXPECT_EQ(sarko_error_cause(outer), middle);
    EXPECT_EQ(sarko_error_cause(middle), root);
    const int64_t live = test::memory::live_blocks();
    sarko_error_clear(outer);
    EXPECT_EQ(test::memory::live_blocks(), live - 3);
}

TEST(Error, ComposeJoinsTheChainIntoOneError) {
    sarko_error_t e = wrap(wrap(make(SarvoSizeEC, nullptr), "inner"), "outer");
    e = sarko_error_compose_create(e, 9);
    EXPECT_EQ(sarko_error_cause(e), 0u);
    test::expect_error(wrap(e, "last"), SarvoSizeEC, {"last", "outer: inner: Incorrect size"});
    const sarko_error_t single = make(0, "alone");
    EXPECT_EQ(sarko_error_compose_create(single, 9), single);
    sarko_error_clear(single);
}

TEST(Error, StandardHandlerPrintsOneLinePerLink) {
    struct Case {
        sarko_error_t error;
        const char *text;
    };
    const Case cases[] = {
        {make(7, "text"), "error 7: text\n"},
        {make(0, "a", SARKO_KIND_MEMORY), "error 0 (memory): a\n"},
        {make(0, "a", SARKO_KIND_MALFUNCTION), "error 0 (malfunction): a\n"},
        {make(0, "a", 17), "error 0 (kind 17): a\n"},
        {sarko_error_create_i(0, 3, 1, 2, 3, UINT64_MAX, "c"), "error 3 [1 2 3 18446744073709551615]: c\n"},
        {wrap(wrap(make(SarvoSizeEC, nullptr), "in"), "out"),
         "error 7: out\n  caused by error 7: in\n    caused by error 7: Incorrect size\n"},
        {sarko_error_quick_wrap_i(4, 5, 6, make(1, "x"), "y"), "error 1 [4 5 6 0]: y\n  caused by error 1: x\n"},
        {sarko_error_compose_create(wrap(make(1, "x"), "y"), 8), "error 1 [8 0 0 0]: y: x\n"},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(printed(c.error, sarko_error_stdhandler), c.text);
        EXPECT_EQ(printed(c.error, nullptr), c.text) << "a null handler is the standard one";
        EXPECT_EQ(sarko_error_handle(c.error, nullptr, nullptr), c.error) << "a null stream prints nothing";
        sarko_error_clear(c.error);
    }
}

TEST(Error, CallersHandlerGetsErrorAndStream) {
    const sarko_error_t e = make(5, "five");
    const std::string text =
        printed(e, [](sarko_error_t error, FILE *stream) { fprintf(stream, "<%s>", sarko_error_message(error)); });
    EXPECT_EQ(text, "<five>");
    sarko_error_clear(e);
}

TEST(Malfunction, HandlerIsCalledAndTheErrorClearedAfterwards) {
    const int64_t live = test::memory::live_blocks();
    std::string seen;
    sarko_error_set_malfunction_handler(
        [](sarko_error_t e, void *ctx) { *static_cast<std::string *>(ctx) = sarko_error_message(e); }, &seen);
    EXPECT_EQ(sarko_error_malfunction(make(0, "impossible state", SARKO_KIND_MALFUNCTION)), 0u);
    sarko_error_set_malfunction_handler(nullptr, nullptr);
    EXPECT_EQ(seen, "impossible state");
    EXPECT_EQ(test::memory::live_blocks(), live);
}

TEST(MalfunctionDeathTest, DefaultHandlerPrintsTheChainAndAborts) {
    EXPECT_EXIT(sarko_error_malfunction(wrap(make(0, "root", SARKO_KIND_MALFUNCTION), "outer")),
                testing::KilledBySignal(SIGABRT),
                "error 0 \\(malfunction\\): outer\n  caused by error 0 \\(malfunction\\): root");
}

TEST(Registry, CodesCountFromOneAndNullsAreRefused) {
    Stopped stopped;
    ASSERT_EQ(sarko_initialize(), 0);
    uint32_t code = 77;
    test::expect_error(sarko_error_register(nullptr, "text"), 0, {"Null pointer."});
    test::expect_error(sarko_error_register(&code, nullptr), 0, {"Null pointer."});
    EXPECT_EQ(code, 77u);
    EXPECT_EQ(sarko_error_code_message(1), nullptr);
    for (uint32_t k = 1; k <= 4096; k++) {
        ASSERT_EQ(sarko_error_register(&code, k % 2 ? "odd" : "even"), 0u);
        ASSERT_EQ(code, k);
    }
    test::expect_error(sarko_error_register(&code, "one too many"), 0, {"Too many error codes."});
    EXPECT_EQ(code, 4096u);
    EXPECT_STREQ(sarko_error_code_message(4096), "even");
    EXPECT_STREQ(sarko_error_code_message(1), "odd");
    for (const uint32_t unknown : {0u, 4097u, UINT32_MAX}) EXPECT_EQ(sarko_error_code_message(unknown), nullptr);
}

TEST(Lifecycle, InitialiseAndTerminateAlternateAndCount) {
    Stopped stopped;
    EXPECT_EQ(sarko_terminate(), 0u) << "without a matching start: nothing";
    for (int round = 0; round < 3; round++) {
        uint32_t code = 0;
        EXPECT_EQ(sarko_initialize(), 0);
        EXPECT_EQ(sarko_initialize(), 0);
        EXPECT_EQ(sarko_error_register(&code, "text"), 0u);
        EXPECT_EQ(code, 1u) << "codes begin anew";
        EXPECT_EQ(sarko_terminate(), 0u);
        EXPECT_STREQ(sarko_error_code_message(1), "text") << "one start is still open";
        EXPECT_EQ(sarko_terminate(), 0u);
        EXPECT_EQ(sarko_error_code_message(1), nullptr);
    }
}

TEST(Lifecycle, ErrorsWorkBeforeStartAndSurviveShutDown) {
    const sarko_error_t kept = make(SarvoSizeEC, nullptr);
    {
        Stopped stopped;
        EXPECT_STREQ(sarko_error_message(kept), "Incorrect size") << "made before shut-down";
        test::expect_error(wrap(make(3, nullptr), "text"), 3, {"text", "Unknown error"});
    }
    sarko_error_clear(wrap(kept, "later"));
}

TEST(OutOfMemory, FailingCreationReturnsAnErrorThatBehavesLikeAnyOther) {
    const auto create_wrap_compose = {0, 1, 2, 3};
    for (const int operation : create_wrap_compose) {
        const int64_t live = test::memory::live_blocks();
        sarko_error_t e = operation >= 2 ? make(1, "cause") : 0;
        if (operation == 3) e = wrap(e, "outer");
        test::memory::arm(1, true);
        if (operation == 0) e = make(1, "text");
        if (operation == 1) e = sarko_error_createf_i(0, 1, 0, 0, 0, 0, "%d", 5);
        if (operation == 2) e = wrap(e, "outer");
        if (operation == 3) e = sarko_error_compose_create(e, 0);
        EXPECT_TRUE(test::memory::disarm());
        ASSERT_NE(e, 0u);
        EXPECT_EQ(sarko_error_kind(e), SARKO_KIND_MEMORY);
        EXPECT_EQ(sarko_error_cause(e), 0u);
        EXPECT_EQ(printed(e, nullptr), "error 0 (memory): Out of memory.\n");
        EXPECT_EQ(test::memory::live_blocks(), live) << "what was wrapped is cleared";
        EXPECT_EQ(sarko_error_compose_create(e, 1), e);
        e = wrap(e, "while working");
        test::expect_error(e, 0, {"while working", "Out of memory."});
        EXPECT_EQ(test::memory::live_blocks(), live);
    }
}

TEST(Threads, EightThreadsCreateWrapAndClearWithoutLosingABlock) {
    constexpr int cycles = 125000;
    constexpr size_t thread_count = 8;
    const int64_t live = test::memory::live_blocks();
    std::vector<std::thread> threads;
    std::vector<int> wrong(thread_count);
    for (size_t t = 0; t < thread_count; t++) {
        threads.emplace_back([t, &wrong] {
            for (int i = 0; i < cycles; i++) {
                sarko_error_t e = sarko_error_createf_i(0, SarvoSizeEC, 0, 0, 0, 0, "%zu %d", t, i);
                e = wrap(e, "outer");
                const std::string text = std::to_string(t) + " " + std::to_string(i);
                if (sarko_error_code(e) != SarvoSizeEC || text != sarko_error_message(sarko_error_cause(e))) wrong[t]++;
                sarko_error_clear(e);
            }
        });
    }
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(wrong, std::vector<int>(thread_count, 0));
    EXPECT_EQ(test::memory::live_blocks(), live);
}

} // namespace
