#include "foundation/CTextString.h"

#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <set>
#include <sstream>

#include "runtime/ErrorNumbers.h"
#include "runtime/RecordingUserInterface.h"
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
    void SetUp() override {
        auto recorder = std::make_unique<RecordingUserInterface>();
        ui_ = recorder.get();
        oldUi_ = SetUi(std::move(recorder));
    }
    void TearDown() override { SetUi(std::move(oldUi_)); }

    std::string Folder() const { return folder_.path().string() + "/"; }
    void WriteBase(std::string_view text) const { WriteFile(folder_ / "TextStrings_EN.tsv", text); }
    void WriteCurrent(std::string_view text) const { WriteFile(folder_ / "TextStrings.tsv", text); }
    // A table whose base file holds `entries` and the reserved captions.
    std::unique_ptr<CTextString> Load(std::string_view entries) const {
        WriteBase(std::string(kReservedTexts) + std::string(entries) + std::string(kLastLine));
        return std::make_unique<CTextString>(Folder());
    }

    TempFolder folder_;
    RecordingUserInterface* ui_ = nullptr;
    std::unique_ptr<UserInterface> oldUi_;
};

// ---- Loading ---------------------------------------------------------------

TEST_F(TextStringTest, BaseFileIsReadUpToItsLastLineWhateverItsLineEnds) {
    struct Case {
        const char* name;
        std::string file;
        std::string one;  // text of id 1
        std::string two;  // text of id 2
    };
    const Case cases[] = {
        {"final line end", "1\tone\n2\ttwo\n", "one", "???TextID 2???"},
        {"no final line end", "1\tone\n2\ttwo", "one", "???TextID 2???"},
        {"empty last line", "1\tone\n2\ttwo\n\n", "one", "two"},
        {"CR LF and a mark", "\xEF\xBB\xBF" "1\tone\r\n2\ttwo\r\n'end\r\n", "one", "two"},
        {"notes, blanks, extra fields", "'note\n\n1\tone\tignored\n2\ttwo\n'end", "one", "two"},
        {"a line end inside a text", "1\ta<CrLf>b\n'end", "a\r\nb", "???TextID 2???"},
        {"only one line", "1\tone", "???TextID 1???", "???TextID 2???"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        WriteBase(c.file);
        const CTextString texts(Folder());
        EXPECT_EQ(texts.TextStringGetFnS(1), c.one);
        EXPECT_EQ(texts.TextStringGetFnS(2), c.two);
    }
    EXPECT_TRUE(ui_->Messages().empty());
}

TEST_F(TextStringTest, LoadFailureIsShownAndKeepsWhatWasRead) {
    struct Case {
        const char* name;
        std::string file;
        std::int32_t error;
    };
    const Case cases[] = {
        {"line without a tab", "1\tone\n2 two\n3\tthree\n'end", errnum::kSubscriptOutOfRange},
        {"id that is no number", "1\tone\nx\ttwo\n3\tthree\n'end", errnum::kTypeMismatch},
        {"id beyond 32 bits", "1\tone\n99999999999\ttwo\n3\tthree\n'end", errnum::kOverflow},
        {"id twice", "1\tone\n1\tagain\n3\tthree\n'end", errnum::kDuplicateKey},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::size_t before = ui_->Messages().size();
        WriteBase(c.file);
        const CTextString texts(Folder());
        ASSERT_EQ(ui_->Messages().size(), before + 1);
        const MessageBoxRequest& shown = ui_->Messages().back();
        EXPECT_EQ(shown.text, "Unable to load Text Strings from " + Folder() + "TextStrings_EN.tsv: " +
                                  VornError::RuntimeDescription(c.error));
        EXPECT_EQ(shown.title, "TextStringsLoadFromPath");
        EXPECT_EQ(shown.icon, MsgIcon::kCritical);
        EXPECT_EQ(texts.TextStringGetFnS(1), "one");
        EXPECT_EQ(texts.TextStringGetFnS(3), "???TextID 3???");
    }
}

TEST_F(TextStringTest, MissingBaseFileIsShownAndEveryIdReadsMissing) {
    const CTextString texts(Folder());
    ASSERT_EQ(ui_->Messages().size(), 1u);
    EXPECT_EQ(ui_->Messages()[0].text, "Unable to load Text Strings from " + Folder() + "TextStrings_EN.tsv: " +
                                           VornError::RuntimeDescription(errnum::kFileNotFound));
    EXPECT_EQ(texts.TextStringGetFnS(3019), "???TextID 3019???");
}

TEST_F(TextStringTest, CurrentLanguageFileReadsItsLastLineAndHidesTheBase) {
    WriteCurrent("1\teins\n3\tdrei");
    auto texts = Load("1\tone\n2\ttwo\n");
    EXPECT_EQ(texts->TextStringGetFnS(1), "eins");
    EXPECT_EQ(texts->TextStringGetFnS(3), "drei");
    // Until the host names the base table, the base does not fill gaps.
    EXPECT_EQ(texts->TextStringGetFnS(2), "???TextID 2???");
    texts->StringIndexBase(std::make_shared<TextTable>(TextTable{{2, "two"}}));
    EXPECT_EQ(texts->TextStringGetFnS(2), "two");
    EXPECT_EQ(texts->TextStringGetFnS(1), "eins");
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
    struct Case {
        const char* text;
        std::vector<std::string> replacements;
        const char* expected;
    };
    const Case cases[] = {
        {"<<>> of <<>>", {"5"}, "5 of <<>>"},
        {"<<>> of <<>>", {"1", "2", "3"}, "1 of 2"},
        {"<<>> of <<>>", {"<<>>", "x"}, "<<>> of x"},
        {"<<>> of <<>>", {}, "<<>> of <<>>"},
        {"no marks", {"a"}, "no marks"},
        {"Grüße <<>>, <<>>", {"Jörg", ""}, "Grüße Jörg, "},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        auto texts = Load(std::string("7\t") + c.text + "\n");
        EXPECT_EQ(texts->TextStringGetFnS(7, c.replacements), c.expected);
    }
}

TEST_F(TextStringTest, MissingIdsReadAsGapsNeverAsFailures) {
    auto texts = Load("1\tone\n");
    EXPECT_EQ(texts->TextStringGetFnS(0), "");
    EXPECT_EQ(texts->TextStringGetFnS(99999, {"x"}), "???TextID 99999???");
    EXPECT_EQ(texts->TextStringGetFnS(-5), "???TextID -5???");
    EXPECT_EQ(texts->TextStringGetFnS(INT32_MIN), "???TextID -2147483648???");
}

TEST_F(TextStringTest, NegativeIdAsksForTheBaseLanguage) {
    WriteCurrent("7\taktuell\n");
    auto texts = Load("7\tbase\n");
    EXPECT_EQ(texts->TextStringGetFnS(-7), "aktuell");  // no base named by the host yet
    texts->StringIndexBase(std::make_shared<TextTable>(TextTable{{7, "base"}}));
    EXPECT_EQ(texts->TextStringGetFnS(-7), "base");
    EXPECT_EQ(texts->TextStringGetFnS(7), "aktuell");
}

TEST_F(TextStringTest, NestedReferenceAtTheStartTakesTheFollowingCharacter) {
    auto texts = Load("123\tab\n5\t<<]123>>x\n6\t<<]123>>!<<>>\n");
    EXPECT_EQ(texts->TextStringGetFnS(5), "ab");
    EXPECT_EQ(texts->TextStringGetFnS(6, {"z"}), "abz");
}

TEST_F(TextStringTest, NestedReferenceTooFarInFails) {
    auto texts = Load("123\tab\n5\tabcd<<]123>>\n");
    try {
        texts->TextStringGetFnS(5);
        FAIL() << "no failure";
    } catch (const VornError& e) {
        EXPECT_EQ(e.Number(), errnum::kInvalidProcedureCall);
    }
}

TEST_F(TextStringTest, TextThatRefersToItselfEnds) {
    auto texts = Load("7\t<<]7>>.\n");
    EXPECT_NE(texts->TextStringGetFnS(7).find("???TextID 7???"), std::string::npos);
}

// ---- Captions that may be ids ------------------------------------------------

TEST_F(TextStringTest, TextStringCheckResolvesWholeNumbersOnly) {
    auto texts = Load("1234\tTwelve\n");
    const std::pair<const char*, const char*> cases[] = {
        {"1234", "Twelve"},          {"!!1234...", "!!Twelve..."}, {"@1234", "1234"},
        {"12.5", "12.5"},            {"0", "0"},                   {"abc", "abc"},
        {"!!abc...", "!!abc..."},    {"555", "???TextID 555???"},  {"1234...", "Twelve..."},
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
        {"open File", "", "", false, "open &File", "F", ",F"},
        {"abc", "a,B", "", false, "ab&c", "c", "a,B,c"},
        {"Item 12", ",I,T,E,M", "", false, "Item &12", "1", ",I,T,E,M,1"},
        {"Plan 9", ",P,L,A,N", "", false, "Plan 9", "", ",P,L,A,N"},
        {"1990", "", "", false, "1990", "", ""},
        {"?", "", "", false, "&?", "?", ",?"},
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
    EXPECT_EQ(menu, ",E");
    EXPECT_EQ(texts->HotKeyAssignMenuCompsFnS("Extras", menu), "E&xtras");
}

TEST_F(TextStringTest, ButtonsTakeNoLetterOfTheMainMenu) {
    WriteBase("28423\tFile\n28432\tEdit\n28437\tHelp\n10008\tFine\n10001\tCancel\n'end\n");
    CTextString texts(Folder());
    std::string list;
    EXPECT_EQ(texts.HotKeyAssignCmdButtonFnS("Fine", list), "F&ine");

    // Another language: the reserved letters follow the new captions.
    texts.StringIndex(std::make_shared<TextTable>(
        TextTable{{28423, "Datei"}, {28432, "Bearbeiten"}, {28437, "Hilfe"}, {10008, "OK"}, {10001, "Abbrechen"}}));
    texts.HotKeysPrimarySet();
    std::string menu;
    EXPECT_EQ(texts.HotKeyAssignMenuCompsFnS("Datei", menu), "&Datei");
    EXPECT_EQ(texts.HotKeyAssignMenuCompsFnS("File", menu), "&File");  // F is no longer reserved
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

TEST_F(ShippedTextsTest, TextsHaveTheMarksTheirCallersFill) {
    const CTextString texts(DataFolder().string());
    const std::pair<std::int32_t, std::size_t> cases[] = {
        {3019, 0}, {4103, 0}, {3961, 1}, {4806, 1}, {5520, 2}, {5554, 3},
        {5503, 3}, {3669, 4}, {3668, 5}, {5368, 5}, {5371, 4}, {5611, 2},
    };
    for (const auto& [id, marks] : cases) {
        const std::string text = texts.TextStringGetFnS(id);
        EXPECT_EQ(text.find("???"), std::string::npos) << id;
        EXPECT_EQ(CountMarks(text), marks) << id << ": " << text;
    }
}

TEST_F(ShippedTextsTest, ReservedCaptionsGetDistinctLetters) {
    const CTextString texts(DataFolder().string());
    std::string list;
    for (const std::int32_t id : {28423, 28432, 28437}) texts.HotKeyAssignMenuCompsFnS(texts.TextStringGetFnS(id), list);
    for (const std::int32_t id : {10008, 10001}) texts.HotKeyAssignCmdButtonFnS(texts.TextStringGetFnS(id), list);
    std::set<std::string> letters;
    std::istringstream items(list);
    std::string letter;
    while (std::getline(items, letter, ',')) {
        if (!letter.empty()) {
            EXPECT_TRUE(letters.insert(letter).second) << list;
        }
    }
    EXPECT_EQ(letters.size(), 5u) << list;
}

}  // namespace
}  // namespace vorn
