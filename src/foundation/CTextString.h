#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vorn {

// A table of numbered texts: text id to text.
using TextTable = std::unordered_map<std::int32_t, std::string>;

// The numbered text table. Every user-visible message of the system is kept
// in a text file and addressed by its id; this class loads the files,
// resolves an id with its replacements and nested references, and gives
// captions their keyboard hot keys so that no two items of one menu or
// dialog share a letter.
//
// Text files (UTF-8, a byte-order mark ignored, LF or CR LF lines): one
// entry a line, "<id><TAB><text>[<TAB>ignored...]"; empty lines and lines
// that begin with "'" are skipped; "<CrLf>" in a text stands for a line end.
// The folder holds TextStrings_EN.tsv, the base language, which must exist
// and whose last line is never read (so it ends with a line of no value),
// and TextStrings.tsv, the current language, which may be absent.
//
// A missing id is never a failure: it reads "???TextID <id>???".
class CTextString {
public:
    // The line end that "<CrLf>" stands for, and that callers join texts with.
    static constexpr std::string_view kLineEnd = "\r\n";
    static constexpr std::string_view kBaseFileName = "TextStrings_EN.tsv";
    static constexpr std::string_view kCurrentFileName = "TextStrings.tsv";

    // Loads the texts from DefaultTextFolder() and sets the primary hot keys.
    CTextString();
    // The same from `textFolder` (with or without a trailing "/").
    explicit CTextString(std::string textFolder);
    ~CTextString();
    CTextString(const CTextString&) = delete;
    CTextString& operator=(const CTextString&) = delete;

    // The folder of the text files: the environment variable
    // VORN_TEXT_FOLDER when set; else the installed data folder
    // (<dir of the program>/../share/vorn) when it holds the base file; else
    // the source tree's data folder. Always ends in "/".
    static std::string DefaultTextFolder();

    // The folder this object loaded from, ending in "/".
    const std::string& TextFolder() const { return folder_; }

    // ---- Tables ------------------------------------------------------------

    // Replaces the current table.
    void StringIndex(std::shared_ptr<TextTable> table);
    // Replaces the base table; from then on the base table answers the ids
    // that the current table lacks, and negative ids.
    void StringIndexBase(std::shared_ptr<TextTable> table);

    // The character set of the texts; stored only.
    std::int32_t CharSet() const { return charSet_; }
    void CharSet(std::int32_t value) { charSet_ = value; }

    // ---- Texts -------------------------------------------------------------

    // The text of `plTextID`, nested references "<<]id>>" expanded, and each
    // "<<>>" mark filled by the next replacement, left to right. Surplus
    // replacements are ignored; surplus marks stay. A negative id asks for
    // the base language. Id 0 and an unknown 0 give ""; any other unknown id
    // gives "???TextID <id>???", replacements not applied.
    // A nested reference behind position 1 is read with a shorter id; when
    // that length falls below 0 the call fails with VornError 5.
    std::string TextStringGetFnS(std::int32_t plTextID,
                                 const std::vector<std::string>& pvReplacementsV = {}) const;

    // Resolves a caption that may be a text id. "@text" is taken literally
    // (the "@" goes). Otherwise a leading "!!" and a trailing "..." are kept
    // around the text of the id, when the rest reads as a whole number of 1
    // or more; any other caption stays untouched.
    void TextStringCheck(std::string& psText) const;

    // ---- Hot keys ----------------------------------------------------------
    // A hot key list is a comma list of the letters already used in one menu
    // or dialog; it may begin with a comma. Each member adds the letter it
    // assigns to the list and returns the caption with "&" before the letter.
    // `psHotKeyAssigned`, when given, receives the letter ("" for none).

    // Assigns a hot key: a caption that already has "&" keeps it; otherwise
    // the first capital letter that is not forbidden, then the first small
    // letter, then (unless the caption reads as a number) the first digit 1
    // to 8. Forbidden: the list, `psExcludeList`, and with
    // `pbHonorPrimaryMenuComponents` the primary menu letters.
    std::string HotKeyAssignFnS(std::string_view psItemCaption, std::string& psHotKeyList,
                                std::string* psHotKeyAssigned = nullptr,
                                std::string_view psExcludeList = {},
                                bool pbHonorPrimaryMenuComponents = false) const;

    // A command button: a reserved button caption gets its reserved letter;
    // any other avoids the reserved button letters.
    std::string HotKeyAssignCmdButtonFnS(std::string_view psButtonLabel, std::string& psHotKeyList,
                                         std::string* psHotKeyAssigned = nullptr,
                                         bool pbHonorPrimaryMenuComponents = false) const;

    // A menu item: a reserved menu caption gets its reserved letter; any
    // other avoids the reserved menu letters.
    std::string HotKeyAssignMenuCompsFnS(std::string_view psMenuLabel, std::string& psHotKeyList) const;

    // Reserves the letters of the main menu captions and of the standard
    // buttons from the current texts. Run at creation; run again after the
    // tables were swapped for another language.
    void HotKeysPrimarySet();

private:
    struct HotKeyEntry {
        std::int32_t textId = 0;
        std::string caption;        // without its mark
        std::string letter;
        std::string markedCaption;  // with "&"
    };

    void TextStringsLoadFromPath();
    std::string TextLookupFnS(std::int32_t id) const;
    std::string ExpandReferences(std::string text) const;
    void ReservePrimaryKeys(std::vector<HotKeyEntry>& entries, std::string& keyList,
                            std::string_view excludeList) const;

    std::string folder_;
    std::shared_ptr<TextTable> current_;
    std::shared_ptr<TextTable> base_;
    bool baseSet_ = false;
    std::int32_t charSet_ = 0;
    std::vector<HotKeyEntry> menuKeys_;
    std::vector<HotKeyEntry> buttonKeys_;
    std::string primaryMenuKeyList_;
    std::string primaryButtonKeyList_;
    // Depth of nested reference expansion; a text that refers to itself
    // would otherwise recurse without end.
    mutable int expansionDepth_ = 0;
};

// The session's text table.
CTextString& TextStr();

}  // namespace vorn
