#include "foundation/CTextString.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <sstream>

#include "foundation/CFile.h"
#include "runtime/Conversions.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/SessionSlot.h"
#include "runtime/UserInterface.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kSource = "CTextString";
constexpr std::string_view kLoadTitle = "TextStringsLoadFromPath";

// Ids of the reserved hot key entries: the main menu, then the buttons.
constexpr std::int32_t kMenuKeyIds[] = {28423, 28432, 28437};
constexpr std::int32_t kButtonKeyIds[] = {10008, 10001};

// Nested references deeper than this answer as missing texts, so that a text
// that refers to itself ends.
constexpr int kMaxReferenceDepth = 16;

// The source tree's data folder, when the build names it.
#ifdef VORN_SOURCE_DATA_DIR
constexpr std::string_view kSourceDataDir = VORN_SOURCE_DATA_DIR;
#else
constexpr std::string_view kSourceDataDir{};
#endif

std::string WithTrailingSlash(std::string folder) {
    if (!folder.empty() && folder.back() != '/') folder += '/';
    return folder;
}

// The lines of a text file: a byte-order mark dropped, lines split at LF with
// a CR before it dropped; a final line end does not open another line.
// Throws VornError 53 when the file cannot be read.
std::vector<std::string> ReadLines(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw VornError(errnum::kFileNotFound, std::string(kSource),
                        VornError::RuntimeDescription(errnum::kFileNotFound));
    }
    std::ostringstream bytes;
    bytes << in.rdbuf();
    std::string_view text = bytes.view();
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    std::vector<std::string> lines;
    while (!text.empty()) {
        const auto end = text.find('\n');
        std::string_view line = text.substr(0, end);
        if (line.ends_with('\r')) line.remove_suffix(1);
        lines.emplace_back(line);
        if (end == std::string_view::npos) break;
        text.remove_prefix(end + 1);
    }
    return lines;
}

// A decimal integer with blanks around and an optional sign; nullopt for
// anything else. `overflow` tells a number that does not fit 32 bits.
std::optional<std::int32_t> ParseDecimal(std::string_view text, bool& overflow) {
    overflow = false;
    text = utf8::Trim(text);
    bool negative = false;
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    if (text.empty()) return std::nullopt;
    if (text.find_first_not_of("0123456789") != std::string_view::npos) return std::nullopt;
    std::int64_t value = 0;
    for (const char c : text) {
        value = value * 10 + (c - '0');
        if (value > std::int64_t{1} << 32) break;  // beyond 32 bits either way; stop before 64 overflow
    }
    if (negative) value = -value;
    if (value > std::numeric_limits<std::int32_t>::max() || value < std::numeric_limits<std::int32_t>::min()) {
        overflow = true;
        return std::nullopt;
    }
    return static_cast<std::int32_t>(value);
}

// The text id of a file entry, converted as a Long: text that is no number
// is a type mismatch, a number beyond 32 bits an overflow.
std::int32_t EntryId(std::string_view field) {
    bool overflow = false;
    if (const auto id = ParseDecimal(field, overflow)) return *id;
    if (overflow) throw VornError::Overflow(std::string(kSource));
    throw VornError::TypeMismatch(std::string(kSource));
}

// Reads the entries of `lines` into `table`. With `dropLastLine`, the last
// line is not read. A line without a tab, a bad id or an id that is already
// in the table throws; the entries before it stay in the table.
void LoadEntries(const std::vector<std::string>& lines, bool dropLastLine, TextTable& table) {
    const std::size_t count = dropLastLine && !lines.empty() ? lines.size() - 1 : lines.size();
    for (std::size_t i = 0; i < count; ++i) {
        const std::string& line = lines[i];
        if (line.empty() || line.front() == '\'') continue;
        const auto tab = line.find('\t');
        // An entry needs its text field: a line of one field is out of range.
        if (tab == std::string::npos) throw VornError::SubscriptOutOfRange(std::string(kSource));
        const std::int32_t id = EntryId(std::string_view(line).substr(0, tab));
        const auto textEnd = line.find('\t', tab + 1);
        std::string text = line.substr(tab + 1, textEnd == std::string::npos ? std::string::npos
                                                                               : textEnd - tab - 1);
        if (!table.emplace(id, std::move(text)).second) {
            throw VornError::DuplicateKey(std::string(kSource));
        }
    }
}

// ---- Text primitives on code points (positions 1-based, 0 for none) ------

std::int64_t Find(const std::u32string& text, std::int64_t from, std::u32string_view what) {
    if (from < 1) from = 1;
    if (static_cast<std::size_t>(from - 1) > text.size()) return 0;
    const auto at = text.find(what, static_cast<std::size_t>(from - 1));
    return at == std::u32string::npos ? 0 : static_cast<std::int64_t>(at) + 1;
}

std::u32string MidU32(const std::u32string& text, std::int64_t start,
                      std::int64_t length = std::numeric_limits<std::int64_t>::max()) {
    if (static_cast<std::size_t>(start - 1) >= text.size()) return {};
    return text.substr(static_cast<std::size_t>(start - 1),
                       static_cast<std::size_t>(std::min<std::int64_t>(
                           length, static_cast<std::int64_t>(text.size()))));
}

// The length of the token that opens at `cursor` with `open`, through its
// balancing `close`, both delimiters included; 0 when the cursor stands on
// no opener or the token does not close.
std::int64_t MatchDelim(std::int64_t cursor, const std::u32string& source, std::u32string_view open,
                        std::u32string_view close) {
    if (open.empty() || close.empty()) return 0;
    std::int64_t openerPos = Find(source, cursor, open);
    if (openerPos != cursor) return 0;
    std::int64_t closeSearch = openerPos;
    int openers = 0;
    int closers = 0;
    for (;;) {
        const std::int64_t closer = Find(source, closeSearch, close);
        if (closer == 0) return 0;
        closeSearch = closer + static_cast<std::int64_t>(close.size());
        ++closers;
        if (closers < openers) continue;
        if (closeSearch <= openerPos) break;
        do {
            openerPos += static_cast<std::int64_t>(open.size());
            const std::int64_t next = Find(source, openerPos, open);
            openerPos = next == 0 ? static_cast<std::int64_t>(source.size()) + 1 : next;
            ++openers;
        } while (openerPos < closeSearch);
        if (openers == closers) break;
    }
    return closeSearch - cursor;
}

// Replaces the first `was` at or behind the cursor by `now`; the cursor
// moves behind the inserted text, or becomes 0 when there is none.
void ReplaceOnce(std::int64_t& cursor, std::u32string& source, std::u32string_view was,
                 std::u32string_view now) {
    if (cursor < 1) return;
    cursor = Find(source, cursor, was);
    if (cursor == 0) return;
    source.replace(static_cast<std::size_t>(cursor - 1), was.size(), now);
    cursor += static_cast<std::int64_t>(now.size());
}

// A text read as a 32-bit integer, 0 when it is none.
std::int32_t TextToLong(std::string_view text) {
    bool overflow = false;
    return ParseDecimal(text, overflow).value_or(0);
}

// Whether `list` (a comma list) holds `item`, ignoring case.
bool InCommaList(std::string_view list, std::string_view item) {
    if (item.empty()) return false;
    const std::string haystack = "," + utf8::ToUpper(list) + ",";
    return haystack.find("," + utf8::ToUpper(item) + ",") != std::string::npos;
}

bool ReadsAsNumber(std::string_view text) { return ParseNumber(text).has_value(); }

}  // namespace

CTextString::CTextString() : CTextString(DefaultTextFolder()) {}

CTextString::CTextString(std::string textFolder) : folder_(WithTrailingSlash(std::move(textFolder))) {
    TextStringsLoadFromPath();
    HotKeysPrimarySet();
}

CTextString::~CTextString() { RecordClassEnd("CTextString"); }

std::string CTextString::DefaultTextFolder() {
    if (const char* env = std::getenv("VORN_TEXT_FOLDER"); env != nullptr && *env != '\0') {
        return WithTrailingSlash(env);
    }
    std::vector<fs::path> candidates;
    std::error_code ec;
    const fs::path program = fs::read_symlink("/proc/self/exe", ec);
    if (!ec) candidates.push_back((program.parent_path() / ".." / "share" / "vorn").lexically_normal());
    if (const char* source = std::getenv("VORN_SOURCE_DIR"); source != nullptr && *source != '\0') {
        candidates.push_back(fs::path(source) / "data");
    }
    if (!kSourceDataDir.empty()) candidates.emplace_back(kSourceDataDir);
    for (const fs::path& folder : candidates) {
        if (fs::exists(folder / kBaseFileName, ec)) return WithTrailingSlash(folder.string());
    }
    // None holds the texts: the installed place, so that the load failure
    // names where the file was expected.
    return candidates.empty() ? std::string("./") : WithTrailingSlash(candidates.front().string());
}

// Loads the base file (its last line never) and the current language file
// (when present). A failure is shown to the user; the current table is then
// the base table as far as it was read.
void CTextString::TextStringsLoadFromPath() {
    current_ = std::make_shared<TextTable>();
    base_ = std::make_shared<TextTable>();
    std::string_view file = kBaseFileName;
    try {
        LoadEntries(ReadLines(fs::path(folder_) / kBaseFileName), true, *base_);
        file = kCurrentFileName;
        const fs::path currentPath = fs::path(folder_) / kCurrentFileName;
        std::error_code ec;
        if (fs::exists(currentPath, ec)) {
            LoadEntries(ReadLines(currentPath), false, *current_);
        } else {
            current_ = base_;
        }
    } catch (const VornError& e) {
        current_ = base_;
        Ui().MessageBox(MessageBoxRequest{
            "Unable to load Text Strings from " + folder_ + std::string(file) + ": " + e.Description(),
            std::string(kLoadTitle), MsgIcon::kCritical, MsgButtons::kOk, 1, std::string(kLoadTitle)});
    }
}

void CTextString::StringIndex(std::shared_ptr<TextTable> table) { current_ = std::move(table); }

void CTextString::StringIndexBase(std::shared_ptr<TextTable> table) {
    base_ = std::move(table);
    baseSet_ = true;
}

// The raw text of an id, "" when there is none; "<CrLf>" becomes a line end.
std::string CTextString::TextLookupFnS(std::int32_t id) const {
    const auto entry = [](const std::shared_ptr<TextTable>& table, std::int32_t key) -> std::string {
        if (!table) return {};
        const auto found = table->find(key);
        return found == table->end() ? std::string() : found->second;
    };
    std::string text;
    if (id >= 0) {
        text = entry(current_, id);
        if (text.empty() && baseSet_) text = entry(base_, id);
    } else if (id != std::numeric_limits<std::int32_t>::min()) {
        // A negative id asks for the base language.
        text = entry(baseSet_ ? base_ : current_, -id);
    }
    return utf8::Replace(text, "<CrLf>", kLineEnd);
}

std::string CTextString::TextStringGetFnS(std::int32_t plTextID,
                                          const std::vector<std::string>& pvReplacementsV) const {
    std::string text = expansionDepth_ < kMaxReferenceDepth ? TextLookupFnS(plTextID) : std::string();
    if (text.empty()) {
        return plTextID == 0 ? std::string() : "???TextID " + std::to_string(plTextID) + "???";
    }
    text = ExpandReferences(std::move(text));
    if (pvReplacementsV.empty()) return text;
    std::u32string marked = utf8::ToU32(text);
    std::int64_t cursor = 1;
    for (const std::string& replacement : pvReplacementsV) {
        ReplaceOnce(cursor, marked, U"<<>>", utf8::ToU32(replacement));
    }
    return utf8::FromU32(marked);
}

// Replaces each reference "<<]id>>" by the text of the id. The id is read
// with a length that is only right for a reference at position 1, where the
// character behind the reference is dropped too; the texts are written to
// match, so the arithmetic stays.
std::string CTextString::ExpandReferences(std::string input) const {
    static constexpr std::u32string_view kOpen = U"<<]";
    std::u32string text = utf8::ToU32(input);
    std::int64_t p = Find(text, 1, kOpen);
    while (p >= 1) {
        const std::int64_t length = MatchDelim(p, text, kOpen, U">>");
        std::int64_t next = p + 1;
        if (length > 0) {
            const std::int64_t idLength = length - p - 4;
            if (idLength < 0) throw VornError::InvalidArgument("CTextString.TextStringGetFnS");
            const std::int32_t id = TextToLong(utf8::FromU32(MidU32(text, p + 3, idLength)));
            next = length;
            if (id > 0) {
                ++expansionDepth_;
                std::string nested;
                try {
                    nested = TextStringGetFnS(id);
                } catch (...) {
                    --expansionDepth_;
                    throw;
                }
                --expansionDepth_;
                text = MidU32(text, 1, p - 1) + utf8::ToU32(nested) + MidU32(text, length + 2);
                next = p;
            }
        }
        p = Find(text, next, kOpen);
    }
    return utf8::FromU32(text);
}

void CTextString::TextStringCheck(std::string& psText) const {
    if (psText.starts_with('@')) {
        psText.erase(0, 1);
        return;
    }
    std::string rest = psText;
    std::string prefix;
    std::string suffix;
    if (rest.starts_with("!!")) {
        prefix = "!!";
        rest.erase(0, 2);
    }
    if (rest.ends_with("...")) {
        suffix = "...";
        rest.erase(rest.size() - 3);
    }
    const std::optional<double> number = ParseNumber(rest);
    if (!number || *number < 1 || *number != std::floor(*number) ||
        *number > std::numeric_limits<std::int32_t>::max()) {
        return;
    }
    psText = prefix + TextStringGetFnS(static_cast<std::int32_t>(*number)) + suffix;
}

std::string CTextString::HotKeyAssignFnS(std::string_view psItemCaption, std::string& psHotKeyList,
                                         std::string* psHotKeyAssigned, std::string_view psExcludeList,
                                         bool pbHonorPrimaryMenuComponents) const {
    std::string unused;
    std::string& assigned = psHotKeyAssigned != nullptr ? *psHotKeyAssigned : unused;
    std::u32string caption = utf8::ToU32(psItemCaption);
    // "&&" is a literal ampersand: blank it out so that positions stay.
    const std::u32string copy = utf8::ToU32(utf8::Replace(psItemCaption, "&&", "  "));
    if (const auto mark = copy.find(U'&'); mark != std::u32string::npos) {
        assigned = utf8::FromU32(caption.substr(mark + 1, 1));
        psHotKeyList += "," + assigned;
        return std::string(psItemCaption);
    }
    std::string forbidden = psHotKeyList;
    if (!psExcludeList.empty()) forbidden += "," + std::string(psExcludeList);
    if (pbHonorPrimaryMenuComponents) forbidden += "," + primaryMenuKeyList_;
    if (forbidden.starts_with(',')) forbidden.erase(0, 1);

    const auto usable = [&](char32_t first, char32_t last) -> std::size_t {
        for (std::size_t i = 0; i < copy.size(); ++i) {
            if (copy[i] >= first && copy[i] <= last && !InCommaList(forbidden, utf8::FromCodePoint(copy[i]))) {
                return i;
            }
        }
        return std::u32string::npos;
    };
    std::size_t position = std::u32string::npos;
    if (psItemCaption == "?") {
        if (!InCommaList(forbidden, "?")) position = 0;
    } else {
        position = usable(U'A', U'Z');
        if (position == std::u32string::npos) position = usable(U'a', U'z');
        // Digits 0 and 9 are never hot keys.
        if (position == std::u32string::npos && !ReadsAsNumber(psItemCaption)) position = usable(U'1', U'8');
    }
    if (position == std::u32string::npos) {
        assigned.clear();
        return std::string(psItemCaption);
    }
    assigned = utf8::FromCodePoint(caption[position]);
    psHotKeyList += "," + assigned;
    caption.insert(position, 1, U'&');
    return utf8::FromU32(caption);
}

std::string CTextString::HotKeyAssignCmdButtonFnS(std::string_view psButtonLabel, std::string& psHotKeyList,
                                                  std::string* psHotKeyAssigned,
                                                  bool pbHonorPrimaryMenuComponents) const {
    for (const HotKeyEntry& entry : buttonKeys_) {
        if (entry.caption == psButtonLabel) {
            if (psHotKeyAssigned != nullptr) *psHotKeyAssigned = entry.letter;
            psHotKeyList += "," + entry.letter;
            return entry.markedCaption;
        }
    }
    return HotKeyAssignFnS(psButtonLabel, psHotKeyList, psHotKeyAssigned, primaryButtonKeyList_,
                           pbHonorPrimaryMenuComponents);
}

std::string CTextString::HotKeyAssignMenuCompsFnS(std::string_view psMenuLabel, std::string& psHotKeyList) const {
    for (const HotKeyEntry& entry : menuKeys_) {
        if (entry.caption == psMenuLabel) {
            psHotKeyList += "," + entry.letter;
            return entry.markedCaption;
        }
    }
    return HotKeyAssignFnS(psMenuLabel, psHotKeyList, nullptr, {}, true);
}

void CTextString::HotKeysPrimarySet() {
    menuKeys_.clear();
    buttonKeys_.clear();
    for (const std::int32_t id : kMenuKeyIds) menuKeys_.push_back(HotKeyEntry{id, {}, {}, {}});
    for (const std::int32_t id : kButtonKeyIds) buttonKeys_.push_back(HotKeyEntry{id, {}, {}, {}});
    primaryMenuKeyList_.clear();
    primaryButtonKeyList_.clear();
    ReservePrimaryKeys(menuKeys_, primaryMenuKeyList_, {});
    // Buttons take no letter of the main menu.
    ReservePrimaryKeys(buttonKeys_, primaryButtonKeyList_, primaryMenuKeyList_);
}

// Gives each entry its caption and letter, growing `keyList`; its leading
// comma is cut at the end.
void CTextString::ReservePrimaryKeys(std::vector<HotKeyEntry>& entries, std::string& keyList,
                                     std::string_view excludeList) const {
    for (HotKeyEntry& entry : entries) {
        entry.caption = TextStringGetFnS(entry.textId);
        entry.markedCaption = HotKeyAssignFnS(entry.caption, keyList, nullptr, excludeList);
        // The letter is the character behind the mark; a caption that got no
        // mark yields its first character.
        const std::u32string marked = utf8::ToU32(entry.markedCaption);
        const auto mark = marked.find(U'&');
        const std::size_t at = mark == std::u32string::npos ? 0 : mark + 1;
        entry.letter = utf8::FromU32(marked.substr(std::min(at, marked.size()), 1));
    }
    if (keyList.starts_with(',')) keyList.erase(0, 1);
}

CTextString& TextStr() { return SessionSlot<CTextString>::Get(); }

}  // namespace vorn
