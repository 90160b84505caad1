#include <gtest/gtest.h>
#include <locale.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "foundation/CAx0.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

// Sets an environment variable for the life of the object.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const std::optional<std::string>& value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        if (value) {
            setenv(name, value->c_str(), 1);
        } else {
            unsetenv(name);
        }
    }
    ~ScopedEnv() {
        if (old_) {
            setenv(name_, old_->c_str(), 1);
        } else {
            unsetenv(name_);
        }
    }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    const char* name_;
    std::optional<std::string> old_;
};

// The registry form of a random identifier: 8-4-4-4-12 upper-case hex
// digits, the version digit 4 and a variant digit of 8, 9, A or B.
bool IsRandomUuidText(const std::string& text) {
    if (text.size() != 36) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        const char c = text[i];
        if (dash != (c == '-')) return false;
        if (!dash && !((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'))) return false;
    }
    return text[14] == '4' && std::string_view("89AB").find(text[19]) != std::string_view::npos;
}

TEST(CAx0Platform, UuidIsRandomUpperCaseAndBraceless) {
    const CAx0 ax;
    const std::string first = ax.UUIDFnS();
    const std::string second = ax.UUIDFnS();
    EXPECT_TRUE(IsRandomUuidText(first)) << first;
    EXPECT_TRUE(IsRandomUuidText(second)) << second;
    EXPECT_NE(first, second);
}

TEST(CAx0Platform, UserNameIsTheAccountsName) {
    const CAx0 ax;
    const std::string name = ax.UserNameFnS();
    EXPECT_FALSE(name.empty());
    EXPECT_LE(name.size(), 99U);
    EXPECT_EQ(name.find('\0'), std::string::npos);
}

TEST(CAx0Platform, DecimalSeparatorOfTheUsersLocale) {
    const CAx0 ax;
    const std::string before = setlocale(LC_NUMERIC, nullptr);
    {
        const ScopedEnv all("LC_ALL", "C");
        EXPECT_FALSE(ax.NativeDecimalSeperatorIsNotUS());
    }
    {
        const ScopedEnv all("LC_ALL", "xx_NOWHERE.UTF-8");  // a locale that cannot load
        EXPECT_FALSE(ax.NativeDecimalSeperatorIsNotUS());
    }
    EXPECT_EQ(before, setlocale(LC_NUMERIC, nullptr));
}

TEST(CAx0Platform, DecimalCommaLocaleIsNotUs) {
    const testing::TempFolder folder;
    const std::string command = "localedef -i de_DE -f UTF-8 '" + (folder / "de_DE.UTF-8").string() +
                                "' >/dev/null 2>&1";
    if (std::system(command.c_str()) != 0) GTEST_SKIP() << "no locale sources to build de_DE from";
    const CAx0 ax;
    const ScopedEnv path("LOCPATH", folder.path().string());
    const ScopedEnv all("LC_ALL", "de_DE.UTF-8");
    const std::string before = setlocale(LC_NUMERIC, nullptr);
    EXPECT_TRUE(ax.NativeDecimalSeperatorIsNotUS());
    EXPECT_EQ(before, setlocale(LC_NUMERIC, nullptr));
}

// A desktop opener that records what it was asked to open, and where.
class CAx0ShellExecuteTest : public ::testing::Test {
protected:
    void SetUp() override {
        log_ = folder_ / "opened.log";
        const std::string opener = (folder_ / "xdg-open").string();
        testing::WriteFile(opener, "#!/bin/sh\necho \"$1|$(pwd)\" >> '" + log_.string() + "'\n");
        chmod(opener.c_str(), 0755);
        path_.emplace("PATH", folder_.path().string() + ":" + std::getenv("PATH"));
    }

    // The log once it holds `text`; gives up after ten seconds, since the
    // opener runs in the background.
    std::string LogOnceItHolds(const std::string& text) const {
        std::string log;
        for (int i = 0; i < 500; ++i) {
            log = testing::ReadFile(log_);
            if (log.find(text) != std::string::npos) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return log;
    }

    testing::TempFolder folder_;
    std::filesystem::path log_;
    std::optional<ScopedEnv> path_;
    const CAx0 ax_;
};

TEST_F(CAx0ShellExecuteTest, OpensExistingFilesOnlyWhenADisplayExists) {
    const std::string seenHeadless = (folder_ / "headless.txt").string();
    const std::string missing = (folder_ / "missing.txt").string();
    const std::string document = (folder_ / "doc.txt").string();
    testing::WriteFile(seenHeadless, "x");
    testing::WriteFile(document, "x");
    {
        const ScopedEnv display("DISPLAY", std::nullopt);
        const ScopedEnv wayland("WAYLAND_DISPLAY", std::nullopt);
        ax_.ShellExecuteEnc(0, seenHeadless, "", "", 1);
    }
    const ScopedEnv display("DISPLAY", ":99");
    ax_.ShellExecuteEnc(0, "", "", "", 1);
    ax_.ShellExecuteEnc(0, missing, "", "", 1);
    ax_.ShellExecuteEnc(0, document, "", folder_.path().string(), 1);
    const std::string log = LogOnceItHolds("doc.txt");
    EXPECT_NE(log.find(document + "|" + folder_.path().string()), std::string::npos) << log;
    EXPECT_EQ(log.find("headless"), std::string::npos) << log;
    EXPECT_EQ(log.find("missing"), std::string::npos) << log;
}

TEST_F(CAx0ShellExecuteTest, AddressesAndBackslashPathsAreOpened) {
    const ScopedEnv display("DISPLAY", std::nullopt);
    const ScopedEnv wayland("WAYLAND_DISPLAY", "wayland-0");
    std::filesystem::create_directory(folder_ / "sub");
    testing::WriteFile(folder_ / "sub" / "b.txt", "x");
    ax_.ShellExecuteEnc(0, "https://example.invalid/page", "", "", 1);
    std::string stored = folder_.path().string() + "\\sub\\b.txt";
    ax_.ShellExecuteEnc(0, stored, "", "", 1, "open");
    const std::string log = LogOnceItHolds("b.txt");
    EXPECT_NE(log.find((folder_ / "sub" / "b.txt").string() + "|"), std::string::npos) << log;
    EXPECT_NE(LogOnceItHolds("example").find("https://example.invalid/page|"), std::string::npos);
}

// Segments of a file between two patterns.
class CAx0ExtractSegmentTest : public ::testing::Test {
protected:
    std::string Extract(std::int32_t start, const std::string& content, const std::string& from,
                        const std::string& to) {
        testing::WriteFile(file_, content);
        return ax_.ExtractSegmentFromFileFnS(start, file_.string(), from, to);
    }

    testing::TempFolder folder_;
    std::filesystem::path file_ = folder_ / "segment.txt";
    const CAx0 ax_;
};

struct SegmentCase {
    std::int32_t start;
    std::string content;
    std::string from;
    std::string to;
    std::string expected;
};

TEST_F(CAx0ExtractSegmentTest, FromTheStartPatternThroughTheEndPatternsFirstCharacter) {
    const std::string text = "Header\r\nBEGIN data\r\nmore END tail";
    const std::vector<SegmentCase> cases = {
        {1, text, "begin", "end", "BEGIN data\r\nmore E"},
        {1, text, "begin", "nothing", "BEGIN data\r\nmore END tail"},  // to the end of the file
        {1, text, "nothing", "end", ""},
        {1, text, "begin", "", ""},
        {1, text, "", "end", ""},
        {1, "abcBEGIN", "begin", "x", ""},                      // no room behind the start
        {1, "ab", "abc", "x", ""},                              // file shorter than the pattern
        {99, text, "begin", "end", ""},                         // start past the end
        {2, "A1 A2 A3", "a", "3", "A2 A3"},
        {1, "xÄbyé", "äB", "É", "Äbyé"},                        // Latin-1 letters ignore case too
    };
    for (const SegmentCase& c : cases) {
        EXPECT_EQ(Extract(c.start, c.content, c.from, c.to), c.expected) << c.content << " / " << c.from;
    }
}

TEST_F(CAx0ExtractSegmentTest, PatternsAcrossReadWindowsAreFound) {
    const std::string content = std::string(4094, 'x') + "BEGIN" + std::string(9000, 'y') + "END" + "z";
    const std::string segment = Extract(1, content, "begin", "end");
    EXPECT_EQ(segment.size(), 5U + 9000U + 1U);
    EXPECT_EQ(segment.substr(0, 5), "BEGIN");
    EXPECT_EQ(segment.back(), 'E');
    const std::string edge = std::string(4093, 'x') + "abcd" + "q";
    EXPECT_EQ(Extract(1, edge, "abcd", "q"), "abcdq");
}

TEST_F(CAx0ExtractSegmentTest, StoredBackslashPathsAreRead) {
    std::filesystem::create_directory(folder_ / "sub");
    testing::WriteFile(folder_ / "sub" / "f.txt", "one <two> three");
    const std::string stored = folder_.path().string() + "\\sub\\f.txt";
    EXPECT_EQ(ax_.ExtractSegmentFromFileFnS(1, stored, "<", ">"), "<two>");
}

TEST_F(CAx0ExtractSegmentTest, FailuresAreRaisedUnderTheMembersName) {
    try {
        ax_.ExtractSegmentFromFileFnS(1, (folder_ / "absent.txt").string(), "a", "b");
        ADD_FAILURE() << "a missing file must fail";
    } catch (const VornError& e) {
        EXPECT_EQ(e.Number(), errnum::kFileNotFound);
        EXPECT_EQ(e.Source(), "CAx0.ExtractSegmentFromFileFnS");
    }
    testing::WriteFile(file_, "abc");
    try {
        ax_.ExtractSegmentFromFileFnS(0, file_.string(), "a", "b");
        ADD_FAILURE() << "a start below 1 must fail";
    } catch (const VornError& e) {
        EXPECT_EQ(e.Number(), errnum::kInvalidProcedureCall);
    }
}

}  // namespace
}  // namespace vorn
