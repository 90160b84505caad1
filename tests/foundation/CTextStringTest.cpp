#include "foundation/CTextString.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <regex>
#include <set>
#include <sstream>

#include "runtime/ErrorNumbers.h"
#include "FoundationTestHelpers.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

using testing::TempFolder;
using testing::WriteFile;

// The reserved captions, so that hot key tests do not hang on the shipped texts.
constexpr std::string_view kReservedTexts =
    "28423\tFile\n28432\tEdit\n28437\tHelp\n10008\tOK\n10001\tCancel\n";
constexpr std::string_view kLastLine = "' never read\n";

std::size_t CountMarks(const std::string& text) {
    std::size_t count = 0;
    for (auto at = text.find("<<>>"); at != std::string::npos; at = text.find("<<>>", at + 4)) ++count;
    return count;
}

class TextStringTest : public ::testing::Test {
protected:
    std::string Folder() const { return folder_.path().string() + "/"; }
    void WriteBase(std::string_view text) const { WriteFile(folder_ / "TextStrings_EN.tsv", text); }
    void WriteCurrent(std::string_view text) const { WriteFile(folder_ / "TextStrings.tsv", text); }
    // A table whose base file holds `entries` and the reserved captions.
    std::unique_ptr<CTextString> Load(std::string_view entries) const {
        WriteBase(std::string(kReservedTexts) + std::string(entries) + std::string(kLastLine));
        return std::make_unique<CTextString>(Folder());
    }

    TempFolder folder_;
    testing::RecordedUi ui_;
};

// ---- Loading ---------------------------------------------------------------

TEST_F(TextStringTest, BaseFileIsReadUpToItsLastLineWhateverItsLineEnds) {
    // (what the file shows, its content, the text of id 1, the text of id 2)
    const std::tuple<const char*, std::string, std::string, std::string> cases[] = {
        {"final line end", "1\tone\n2\ttwo\n", "one", "???TextID 2???"},
        {"empty last line", "1\tone\n2\ttwo\n\n", "one", "two"},
        {"CR LF and a mark", "\xEF\xBB\xBF" "1\tone\r\n2\ttwo\r\n'end\r\n", "one", "two"},
        {"a line end inside a text", "1\ta<CrLf>b\n'end", "a\r\nb", "???TextID 2???"},
        {"only one line", "1\tone", "???TextID 1???", "???TextID 2???"},
    };
    for (const auto& [name, file, one, two] : cases) {
        SCOPED_TRACE(name);
        WriteBase(file);
        const CTextString texts(Folder());
        EXPECT_EQ(texts.TextStringGetFnS(1), one);
        EXPECT_EQ(texts.TextStringGetFnS(2), two);
    }
    EXPECT_TRUE(ui_->Messages().empty());
}

TEST_F(TextStringTest, LoadFailureIsShownAndKeepsWhatWasRead) {
    const std::tuple<const char*, std::string, std::int32_t> cases[] = {
        {"missing file", "", errnum::kFileNotFound},
        {"line without a tab", "1\tone\n2 two\n3\tthree\n'end", errnum::kSubscriptOutOfRange},
        {"id that is no number", "1\tone\nx\ttwo\n3\tthree\n'end", errnum::kTypeMismatch},
        {"id beyond 32 bits", "1\tone\n99999999999\ttwo\n3\tthree\n'end", errnum::kOverflow},
        {"id twice", "1\tone\n1\tagain\n3\tthree\n'end", errnum::kDuplicateKey},
    };
    for (const auto& [name, file, error] : cases) {
        SCOPED_TRACE(name);
        const std::size_t before = ui_->Messages().size();
        std::filesystem::remove(folder_ / "TextStrings_EN.tsv");
        if (!file.empty()) WriteBase(file);
        const CTextString texts(Folder());
        ASSERT_EQ(ui_->Messages().size(), before + 1);
        const MessageBoxRequest& shown = ui_->Messages().back();
        EXPECT_EQ(shown.text, "Unable to load Text Strings from " + Folder() + "TextStrings_EN.tsv: " +
                                  VornError::RuntimeDescription(error));
        EXPECT_EQ(shown.icon, MsgIcon::kCritical);
        EXPECT_EQ(texts.TextStringGetFnS(1), file.empty() ? "???TextID 1???" : "one");
        EXPECT_EQ(texts.TextStringGetFnS(3), "???TextID 3???");
    }
}

TEST_F(TextStringTest, CurrentLanguageFileReadsItsLastLineAndHidesTheBase) {
    WriteCurrent("1\teins\n3\tdrei");
    auto texts = Load("1\tone\n2\ttwo\n");
    EXPECT_EQ(texts->TextStringGetFnS(1), "eins");
    EXPECT_EQ(texts->TextStringGetFnS(3), "drei");
    // Until the host names the base table, the base does not fill gaps.
    EXPECT_EQ(texts->TextStringGetFnS(2), "???TextID 2???");
    EXPECT_EQ(texts->TextStringGetFnS(-1), "eins");  // a negative id asks the base: none named yet
    texts->StringIndexBase(std::make_shared<TextTable>(TextTable{{1, "one"}, {2, "two"}}));
    EXPECT_EQ(texts->TextStringGetFnS(2), "two");
    EXPECT_EQ(texts->TextStringGetFnS(1), "eins");
    EXPECT_EQ(texts->TextStringGetFnS(-1), "one");
}

TEST_F(TextStringTest, FailureInCurrentLanguageFileFallsBackToTheBase) {
    WriteCurrent("1\teins\n1\tnochmal\n");
    auto texts = Load("1\tone\n2\ttwo\n");
    ASSERT_EQ(ui_->Messages().size(), 1u);
    EXPECT_EQ(ui_->Messages()[0].text.rfind("Unable to load Text Strings from " + Folder() + "TextStrings.tsv: ", 0),
              0u);
    EXPECT_EQ(texts->TextStringGetFnS(1), "one");
    EXPECT_EQ(texts->TextStringGetFnS(2), "two");
}

// ---- Lookup and replacements ---------------------------------------------------

TEST_F(TextStringTest, MarksAreFilledLeftToRight) {
    const std::tuple<const char*, std::vector<std::string>, const char*> cases[] = {
        {"<<>> of <<>>", {"5"}, "5 of <<>>"},
        {"<<>> of <<>>", {"1", "2", "3"}, "1 of 2"},
        {"<<>> of <<>>", {"<<>>", "x"}, "<<>> of x"},
        {"Grüße <<>>, <<>>", {"Jörg", ""}, "Grüße Jörg, "},
    };
    for (const auto& [text, replacements, expected] : cases) {
        auto texts = Load(std::string("7\t") + text + "\n");
        EXPECT_EQ(texts->TextStringGetFnS(7, replacements), expected) << text;
    }
}

TEST_F(TextStringTest, MissingIdsReadAsGapsNeverAsFailures) {
    auto texts = Load("1\tone\n");
    EXPECT_EQ(texts->TextStringGetFnS(0), "");
    EXPECT_EQ(texts->TextStringGetFnS(99999, {"x"}), "???TextID 99999???");
    EXPECT_EQ(texts->TextStringGetFnS(INT32_MIN), "???TextID -2147483648???");
}

TEST_F(TextStringTest, NestedReferenceOnlyAtTheStartTakesTheFollowingCharacter) {
    auto texts = Load("123\tab\n5\t<<]123>>x\n6\t<<]123>>!<<>>\n7\t<<]7>>.\n8\tabcd<<]123>>\n");
    EXPECT_EQ(texts->TextStringGetFnS(5), "ab");
    EXPECT_EQ(texts->TextStringGetFnS(6, {"z"}), "abz");
    EXPECT_NE(texts->TextStringGetFnS(7).find("???TextID 7???"), std::string::npos);  // refers to itself: ends
    EXPECT_EQ(testing::FailureNumber([&] { texts->TextStringGetFnS(8); }), errnum::kInvalidProcedureCall);
}

// ---- Captions that may be ids ------------------------------------------------

TEST_F(TextStringTest, TextStringCheckResolvesWholeNumbersOnly) {
    auto texts = Load("1234\tTwelve\n");
    const std::pair<const char*, const char*> cases[] = {
        {"1234", "Twelve"},          {"!!1234...", "!!Twelve..."}, {"@1234", "1234"},
        {"12.5", "12.5"},            {"0", "0"},                   {"!!abc...", "!!abc..."},
    };
    for (const auto& [caption, expected] : cases) {
        std::string text = caption;
        texts->TextStringCheck(text);
        EXPECT_EQ(text, expected) << caption;
    }
}

// ---- Hot keys ------------------------------------------------------------------

TEST_F(TextStringTest, HotKeyAssignTakesTheFirstFreeLetter) {
    auto texts = Load("");
    struct Case {
        const char* caption;
        const char* listIn;
        const char* exclude;
        bool honorMenu;
        const char* result;
        const char* assigned;
        const char* listOut;
    };
    const Case cases[] = {
        {"Save &As", "", "", false, "Save &As", "A", ",A"},
        {"R&&D", ",R", "", false, "R&&&D", "D", ",R,D"},
        {"abc", "a,B", "", false, "ab&c", "c", "a,B,c"},
        {"Item 12", ",I,T,E,M", "", false, "Item &12", "1", ",I,T,E,M,1"},
        {"Plan 9", ",P,L,A,N", "", false, "Plan 9", "", ",P,L,A,N"},
        {"1990", "", "", false, "1990", "", ""},
        {"?", ",?", "", false, "?", "", ",?"},
        {"Open", "", "O", false, "O&pen", "p", ",p"},
        {"Help", "", "", true, "He&lp", "l", ",l"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.caption);
        std::string list = c.listIn;
        std::string assigned = "unchanged";
        EXPECT_EQ(texts->HotKeyAssignFnS(c.caption, list, &assigned, c.exclude, c.honorMenu), c.result);
        EXPECT_EQ(assigned, c.assigned);
        EXPECT_EQ(list, c.listOut);
    }
}

TEST_F(TextStringTest, ReservedCaptionsKeepTheirLettersAndOthersAvoidThem) {
    auto texts = Load("");
    std::string list;
    std::string assigned;
    EXPECT_EQ(texts->HotKeyAssignCmdButtonFnS("OK", list, &assigned), "&OK");
    EXPECT_EQ(assigned, "O");
    EXPECT_EQ(texts->HotKeyAssignCmdButtonFnS("Cancel", list), "&Cancel");
    EXPECT_EQ(list, ",O,C");
    std::string other;
    EXPECT_EQ(texts->HotKeyAssignCmdButtonFnS("Close", other), "C&lose");  // C is the Cancel button's

    std::string menu;
    EXPECT_EQ(texts->HotKeyAssignMenuCompsFnS("Edit", menu), "&Edit");
    EXPECT_EQ(texts->HotKeyAssignMenuCompsFnS("Extras", menu), "E&xtras");

    // Another language: the reserved letters follow the new captions.
    texts->StringIndex(std::make_shared<TextTable>(
        TextTable{{28423, "Datei"}, {28432, "Bearbeiten"}, {28437, "Hilfe"}, {10008, "Datum"}, {10001, "Abbrechen"}}));
    texts->HotKeysPrimarySet();
    menu.clear();
    EXPECT_EQ(texts->HotKeyAssignMenuCompsFnS("Datei", menu), "&Datei");
    std::string buttons;
    EXPECT_EQ(texts->HotKeyAssignCmdButtonFnS("Datum", buttons), "D&atum");  // no letter of the main menu
    EXPECT_EQ(texts->HotKeyAssignMenuCompsFnS("File", menu), "&File");  // F is no longer reserved
}

// ---- The shipped texts ---------------------------------------------------------

class ShippedTextsTest : public TextStringTest {
protected:
    std::filesystem::path DataFolder() const { return testing::SourceDir() / "data"; }
};

TEST_F(ShippedTextsTest, LoadWithoutFailureAndNoIdTwice) {
    const CTextString texts(DataFolder().string());
    EXPECT_TRUE(ui_->Messages().empty());

    std::istringstream lines(testing::ReadFile(DataFolder() / "TextStrings_EN.tsv"));
    std::set<std::string> ids;
    std::string line;
    std::string last;
    while (std::getline(lines, line)) {
        last = line;
        if (line.empty() || line.front() == '\'') continue;
        const std::string id = line.substr(0, line.find('\t'));
        EXPECT_TRUE(std::regex_match(id, std::regex("[0-9]+"))) << line;
        EXPECT_TRUE(ids.insert(id).second) << "twice: " << id;
        EXPECT_NE(line.find('\t'), std::string::npos) << line;
    }
    EXPECT_EQ(last.substr(0, 1), "'") << "the last line, which is never read, must be a note";
    EXPECT_GT(ids.size(), 100u);
}

TEST_F(ShippedTextsTest, TextsHaveTheMarksTheirCallersFillAndDistinctHotKeys) {
    const CTextString texts(DataFolder().string());
    const std::pair<std::int32_t, std::size_t> cases[] = {
        {3019, 0}, {4103, 0}, {3961, 1}, {4806, 1}, {5520, 2}, {5554, 3}, {3669, 4}, {3668, 5}, {5611, 2},
    };
    for (const auto& [id, marks] : cases) {
        const std::string text = texts.TextStringGetFnS(id);
        EXPECT_EQ(text.find("???"), std::string::npos) << id;
        EXPECT_EQ(CountMarks(text), marks) << id << ": " << text;
    }
    // The reserved captions get distinct letters.
    std::string list;
    for (const std::int32_t id : {28423, 28432, 28437}) texts.HotKeyAssignMenuCompsFnS(texts.TextStringGetFnS(id), list);
    for (const std::int32_t id : {10008, 10001}) texts.HotKeyAssignCmdButtonFnS(texts.TextStringGetFnS(id), list);
    std::set<std::string> letters;
    std::istringstream items(list);
    std::string letter;
    while (std::getline(items, letter, ',')) {
        if (!letter.empty()) letters.insert(letter);
    }
    EXPECT_EQ(letters.size(), 5u) << list;
}

}  // namespace
}  // namespace vorn
