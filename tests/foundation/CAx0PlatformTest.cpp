#include <gtest/gtest.h>
#include <locale.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "FoundationTestHelpers.h"
#include "foundation/CAx0.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

using testing::ScopedEnv;

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

TEST(CAx0Platform, UuidIsRandomUpperCaseAndBracelessAndTheUserHasAName) {
    const CAx0 ax;
    const std::string first = ax.UUIDFnS();
    const std::string second = ax.UUIDFnS();
    EXPECT_TRUE(IsRandomUuidText(first)) << first;
    EXPECT_NE(first, second);
    const std::string name = ax.UserNameFnS();
    EXPECT_FALSE(name.empty());
    EXPECT_EQ(name.find('\0'), std::string::npos);
}

TEST(CAx0Platform, DecimalSeparatorOfTheUsersLocaleLeavesTheProgramsLocale) {
    const CAx0 ax;
    const std::string before = setlocale(LC_NUMERIC, nullptr);
    for (const char* locale : {"C", "xx_NOWHERE.UTF-8"}) {  // the second cannot load
        const ScopedEnv all("LC_ALL", locale);
        EXPECT_FALSE(ax.NativeDecimalSeperatorIsNotUS()) << locale;
    }
    const testing::TempFolder folder;
    const std::string command =
        "localedef -i de_DE -f UTF-8 '" + (folder / "de_DE.UTF-8").string() + "' >/dev/null 2>&1";
    if (std::system(command.c_str()) == 0) {
        const ScopedEnv path("LOCPATH", folder.path().string());
        const ScopedEnv all("LC_ALL", "de_DE.UTF-8");
        EXPECT_TRUE(ax.NativeDecimalSeperatorIsNotUS());
    }
    EXPECT_EQ(before, setlocale(LC_NUMERIC, nullptr));
}

// A desktop opener that records what it was asked to open, and where.
TEST(CAx0Platform, ShellExecuteOpensExistingFilesAndAddressesOnlyWithADisplay) {
    const testing::TempFolder folder;
    const std::filesystem::path log = folder / "opened.log";
    const std::string opener = (folder / "xdg-open").string();
    testing::WriteFile(opener, "#!/bin/sh\necho \"$1|$(pwd)\" >> '" + log.string() + "'\n");
    chmod(opener.c_str(), 0755);
    const ScopedEnv path("PATH", folder.path().string() + ":" + std::getenv("PATH"));
    const CAx0 ax;

    const std::string headless = (folder / "headless.txt").string();
    const std::string document = (folder / "doc.txt").string();
    testing::WriteFile(headless, "x");
    testing::WriteFile(document, "x");
    std::filesystem::create_directory(folder / "sub");
    testing::WriteFile(folder / "sub" / "b.txt", "x");
    {
        const ScopedEnv display("DISPLAY", std::nullopt);
        const ScopedEnv wayland("WAYLAND_DISPLAY", std::nullopt);
        ax.ShellExecuteEnc(0, headless, "", "", 1);
    }
    const ScopedEnv display("DISPLAY", std::nullopt);
    const ScopedEnv wayland("WAYLAND_DISPLAY", "wayland-0");
    ax.ShellExecuteEnc(0, (folder / "missing.txt").string(), "", "", 1);
    ax.ShellExecuteEnc(0, "https://example.invalid/page", "", "", 1);
    ax.ShellExecuteEnc(0, folder.path().string() + "\\sub\\b.txt", "", "", 1, "open");
    ax.ShellExecuteEnc(0, document, "", folder.path().string(), 1);

    // The openers run in the background: wait (at most ten seconds) until all three wrote.
    std::string seen;
    const auto lines = [&] { return std::count(seen.begin(), seen.end(), '\n'); };
    for (int i = 0; i < 500 && lines() < 3; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        seen = testing::ReadFile(log);
    }
    EXPECT_NE(seen.find(document + "|" + folder.path().string()), std::string::npos) << seen;
    EXPECT_NE(seen.find((folder / "sub" / "b.txt").string() + "|"), std::string::npos) << seen;
    EXPECT_NE(seen.find("https://example.invalid/page|"), std::string::npos) << seen;
    EXPECT_EQ(seen.find("headless"), std::string::npos) << seen;
    EXPECT_EQ(seen.find("missing"), std::string::npos) << seen;
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

TEST_F(CAx0ExtractSegmentTest, FromTheStartPatternThroughTheEndPatternsFirstCharacter) {
    const std::string text = "Header\r\nBEGIN data\r\nmore END tail";
    const std::vector<std::tuple<std::int32_t, std::string, std::string, std::string, std::string>> cases = {
        {1, text, "begin", "end", "BEGIN data\r\nmore E"},
        {1, text, "begin", "nothing", "BEGIN data\r\nmore END tail"},  // to the end of the file
        {1, text, "nothing", "end", ""},
        {1, text, "begin", "", ""},
        {1, "abcBEGIN", "begin", "x", ""},  // no room behind the start
        {99, text, "begin", "end", ""},     // start past the end
        {2, "A1 A2 A3", "a", "3", "A2 A3"},
        {1, "xÄbyé", "äB", "É", "Äbyé"},  // Latin-1 letters ignore case too
    };
    for (const auto& [start, content, from, to, expected] : cases) {
        EXPECT_EQ(Extract(start, content, from, to), expected) << content << " / " << from;
    }
}

TEST_F(CAx0ExtractSegmentTest, PatternsAcrossReadWindowsAreFound) {
    const std::string content = std::string(4094, 'x') + "BEGIN" + std::string(9000, 'y') + "END" + "z";
    const std::string segment = Extract(1, content, "begin", "end");
    EXPECT_EQ(segment.size(), 5U + 9000U + 1U);
    EXPECT_EQ(segment.substr(0, 5), "BEGIN");
    EXPECT_EQ(Extract(1, std::string(4093, 'x') + "abcdq", "abcd", "q"), "abcdq");
}

TEST_F(CAx0ExtractSegmentTest, BackslashPathsAreReadAndFailuresNameTheMember) {
    std::filesystem::create_directory(folder_ / "sub");
    testing::WriteFile(folder_ / "sub" / "f.txt", "one <two> three");
    EXPECT_EQ(ax_.ExtractSegmentFromFileFnS(1, folder_.path().string() + "\\sub\\f.txt", "<", ">"), "<two>");
    try {
        ax_.ExtractSegmentFromFileFnS(1, (folder_ / "absent.txt").string(), "a", "b");
        ADD_FAILURE() << "a missing file must fail";
    } catch (const VornError& e) {
        EXPECT_EQ(e.Number(), errnum::kFileNotFound);
        EXPECT_EQ(e.Source(), "CAx0.ExtractSegmentFromFileFnS");
    }
    EXPECT_EQ(testing::FailureNumber([&] { Extract(0, "abc", "a", "b"); }), errnum::kInvalidProcedureCall);
}

}  // namespace
}  // namespace vorn
