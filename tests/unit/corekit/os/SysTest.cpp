// Lines typed on standard input, pauses, the environment and random numbers.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <sys/syscall.h>

#include "corekit/os/Console.h"
#include "corekit/os/Sys.h"
#include "tests/support/Captured.h"
#include "tests/support/FailingCall.h"
#include "tests/support/PrintString.h"
#include "tests/support/SkippedPauses.h"
#include "tests/support/TestFiles.h"

using corekit::RandomNumber;
using corekit::String;
using corekit::Sys::Fgets;
using corekit::Sys::Line;
namespace Env = corekit::Env;

namespace {

struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

class FgetsTest : public testing::Test {
  protected:
    FgetsTest() { setenv("LC_ALL", "C.UTF-8", 1); }

    /// The next lines come from this text.
    void Type(const std::string& text) {
        testfiles::Write(m_dir / "input", text);
        m_input.reset(std::fopen((m_dir / "input").c_str(), "r"));
    }
    Line Next() { return Fgets(m_line, m_input.get()); }

    testfiles::TempDir m_dir;
    std::unique_ptr<std::FILE, Close> m_input;
    String m_line = L"before";
};

}  // namespace

TEST_F(FgetsTest, ReadsLineByLine) {
    Type("first\n\nthird \xe2\x82\xac\n");
    EXPECT_EQ(Next(), Line::Whole);
    EXPECT_EQ(m_line, L"first\n");
    EXPECT_EQ(Next(), Line::Whole);
    EXPECT_EQ(m_line, L"\n");
    EXPECT_EQ(Next(), Line::Whole);
    EXPECT_EQ(m_line, L"third \u20AC\n");
    EXPECT_EQ(Next(), Line::End);
    EXPECT_EQ(Next(), Line::End);
}

TEST_F(FgetsTest, ReadsALastLineWithoutLineEnd) {
    Type("yes");
    EXPECT_EQ(Next(), Line::Whole);
    EXPECT_EQ(m_line, L"yes");
    EXPECT_EQ(Next(), Line::End);
}

TEST_F(FgetsTest, LeavesTheLineAloneAtTheEnd) {
    Type("");
    EXPECT_EQ(Next(), Line::End);
    EXPECT_EQ(m_line, L"before");
}

TEST_F(FgetsTest, TakesLinesOf4095BytesWithTheirLineEnd) {
    Type(std::string(4094, 'a') + "\n" + std::string(4095, 'b'));
    EXPECT_EQ(Next(), Line::Whole);
    EXPECT_EQ(m_line.Length(), 4095U);
    EXPECT_TRUE(m_line.EndsWith(L"a\n"));
    EXPECT_EQ(Next(), Line::Whole);
    EXPECT_EQ(m_line, String(std::wstring(4095, L'b')));
    EXPECT_EQ(Next(), Line::End);
}

TEST_F(FgetsTest, DropsALongerLineToItsEnd) {
    Type(std::string(4095, 'a') + "\nnext\n" + std::string(100000, 'b') + "\nlast\n" +
         std::string(5000, 'c'));
    EXPECT_EQ(Next(), Line::TooLong);
    EXPECT_EQ(m_line, L"before");
    EXPECT_EQ(Next(), Line::Whole);
    EXPECT_EQ(m_line, L"next\n");
    EXPECT_EQ(Next(), Line::TooLong);
    EXPECT_EQ(Next(), Line::Whole);
    EXPECT_EQ(m_line, L"last\n");
    EXPECT_EQ(Next(), Line::TooLong);
    EXPECT_EQ(Next(), Line::End);
}

TEST_F(FgetsTest, KeepsWhatFollowsANulByte) {
    Type(std::string("a\0b\n", 4) + "next\n");
    EXPECT_EQ(Next(), Line::Whole);
    EXPECT_EQ(m_line, String(std::wstring(L"a\0b\n", 4)));
    EXPECT_EQ(Next(), Line::Whole);
    EXPECT_EQ(m_line, L"next\n");
}

TEST_F(FgetsTest, DecodesTheLocalEncoding) {
    setenv("LC_ALL", "de_DE.ISO-8859-1", 1);
    Type("M\xfcller\n");
    EXPECT_EQ(Next(), Line::Whole);
    EXPECT_EQ(m_line, L"M\u00FCller\n");
}

TEST_F(FgetsTest, TakesAReadErrorForTheEnd) {
    m_input.reset(std::fopen(m_dir.Path().c_str(), "r"));
    ASSERT_NE(m_input, nullptr);
    EXPECT_EQ(Next(), Line::End);
    EXPECT_EQ(m_line, L"before");
}

TEST_F(FgetsTest, ShowsTheQuestionFirst) {
    Type("answer\n");
    testing::internal::CaptureStdout();
    corekit::Console::Out("Question? ");
    EXPECT_EQ(Next(), Line::Whole);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Question? ");
}

TEST(Sleep, WaitsSoManySeconds) {
    EXPECT_EQ(testsupport::SecondsPaused([] {
                  corekit::Sys::Sleep(0);
                  corekit::Sys::Sleep(7);
                  corekit::Sys::Sleep(1);
              }),
              8);
}

TEST(Env, GivesTheValueOfAVariable) {
    setenv("ENV_TEST", "a value = \xe2\x82\xac", 1);
    EXPECT_EQ(Env::Get(L"ENV_TEST"), L"a value = \u20AC");
}

TEST(Env, DistinguishesAnEmptyVariableFromNone) {
    setenv("ENV_TEST", "", 1);
    EXPECT_EQ(Env::Get(L"ENV_TEST"), L"");

    unsetenv("ENV_TEST");
    EXPECT_EQ(Env::Get(L"ENV_TEST"), std::nullopt);
    EXPECT_EQ(Env::Get(L""), std::nullopt);
}

TEST(Env, KeepsBytesThatAreNotUtf8) {
    setenv("ENV_TEST", "/caf\xe9", 1);
    EXPECT_EQ(Env::Get(L"ENV_TEST").value().Utf8(), "/caf\xe9");
}

namespace {

std::set<std::uint64_t> SomeNumbers() {
    std::set<std::uint64_t> numbers;
    for (int draw = 0; draw < 100; ++draw) numbers.insert(RandomNumber());
    return numbers;
}

}  // namespace

TEST(RandomNumber, DiffersFromTheLast) {
    EXPECT_EQ(SomeNumbers().size(), 100U);
}

TEST(RandomNumber, NeedsNoHelpOfTheSystem) {
    for (const int errnoValue : {ENOSYS, EIO, EACCES})
        EXPECT_GT(testsupport::WithFailing({{SYS_getrandom, errnoValue}},
                                           [] { return static_cast<int>(SomeNumbers().size()); }),
                  1);
}
