#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "runtime/VArray.h"
#include "runtime/Variant.h"

namespace vorn {

// How TrimCommas cuts: bit 1 the left end, bit 2 the right end.
enum FileReadTrimCommas : std::int16_t {
    fr_TrimCommas_No = 0,
    fr_TrimCommas_Left = 1,
    fr_TrimCommas_Right = 2,
    fr_TrimCommas_LeftRight = 3,
};

// The utility object of the session: text, list and data-token services that
// every class and the host call through Ax().
//
// Conventions of every member:
// - Text is UTF-8; positions are 1-based and count code points; a position
//   result of 0 means "not found" or "nothing further".
// - A cursor (plPsCsr, plCurrPs, plStartPs) is kept by the caller between
//   calls and advanced by the member; 0 after a call means the scan is done.
// - A search from a start position below 1 fails with VornError 5; a start
//   past the end finds nothing; an empty pattern is found at the start.
// - "Binary" compares code points; "text" comparison ignores the case of
//   ASCII and Latin-1 letters. Members are binary unless they say text.
// - Members marked 16-bit fail with VornError 6 (overflow) when a position,
//   count or length they hold passes 32,767 code points.
// - Line ends are written CR LF; every member that reads one accepts LF too.
// - Data tokens stand between "<<" and ">>" and nest; "<<CR>>" stands for a
//   line end inside stored text.
//
// The array, number, date and colour members of this class are defined in
// sources of their own beside this one (see the section at the end).
class CAx0 {
public:
    static constexpr std::string_view kTokenOpen = "<<";
    static constexpr std::string_view kTokenClose = ">>";
    static constexpr std::string_view kLineEnd = "\r\n";
    // Comparison codes for the members that take one.
    static constexpr std::int16_t kBinaryCompare = 0;
    static constexpr std::int16_t kTextCompare = 1;

    // Takes LocalizedTrue from the runtime's text of True.
    CAx0();
    CAx0(const CAx0&) = delete;
    CAx0& operator=(const CAx0&) = delete;

    // ---- State -------------------------------------------------------------

    // The host runs with a double-byte character set; stored only.
    bool DoubleByte() const { return doubleByte_; }
    void DoubleByte(bool value) { doubleByte_ = value; }
    // The host's setting for entity properties by layer; stored only.
    bool EntityPropsByLayer() const { return entityPropsByLayer_; }
    void EntityPropsByLayer(bool value) { entityPropsByLayer_ = value; }
    // The text of boolean true, taken when the object was made ("True").
    const std::string& LocalizedTrue() const { return localizedTrue_; }
    // Date and time formats the host sets from its settings.
    const std::string& FormatDate() const { return formatDate_; }
    void FormatDate(std::string value) { formatDate_ = std::move(value); }
    const std::string& FormatTime() const { return formatTime_; }
    void FormatTime(std::string value) { formatTime_ = std::move(value); }

    // ---- Data tokens and delimiters ----------------------------------------

    // The inner text of the next balanced token from the cursor (raised to 1
    // when lower), or "" when none is left, with the cursor then 0. The cursor
    // ends behind the token. Text outside tokens, and an opener without a
    // closer, is appended to psTempLine, which is never cleared. An empty
    // token "<<>>" gives "" with a cursor above 0: test the cursor, not the
    // result, for the end.
    std::string DataTokenGetFnS(std::int32_t& plPsCsr, std::string_view psSource,
                                std::string& psTempLine) const;
    std::string DataTokenGetFnS(std::int32_t& plPsCsr, std::string_view psSource) const;
    // "<<" + trimmed data + ">>"; "" for empty data and for data that already
    // begins with "<<" (a token is deliberately not passed through).
    std::string DataTokenMakeFnS(std::string_view psData) const;
    // Moves the cursor behind the next balanced token and answers true; with
    // none left answers false and leaves the cursor 0.
    // REQUIRES: plPsCsr >= 1 (else VornError 5).
    bool DataTokenSkipFnB(std::int32_t& plPsCsr, std::string_view psSource) const;
    // The token of "TABLE.FIELD", or of the table alone when the field is "".
    std::string FieldTokenMakeFnS(std::string_view psTable, std::string_view psField = {}) const;
    // Length from the cursor through the closer that balances the opener at
    // the cursor, both delimiters included; 0 when the cursor is not on an
    // opener, there is no balancing closer, or a delimiter is "".
    // REQUIRES: plPsCsr >= 1 (else VornError 5).
    std::int32_t MatchDelimFnL(std::int32_t plPsCsr, std::string_view psSource,
                               std::string_view psOpen, std::string_view psClose) const;
    // Trims; a text then framed by "<<" and ">>" becomes its trimmed inside.
    void RemoveFieldDelim(std::string& psCurData) const;
    // Everything behind the first ".", or the whole source without one.
    std::string FieldNameFromFieldSpecFnS(std::string_view psSource) const;
    // Splits "PARENT!CHILD" at the last "!": the parent upper-cased, the child
    // upper-cased and trimmed. Without "!" the parent is the whole source and
    // the child is what stands from position 32,767 on ("" for short text).
    void ParentChildSpecParse(std::string_view psFullSpec, std::string& psParent,
                              std::string& psChild) const;
    // Checks "TABLE.FIELD": one dot, and with pbCheckFieldChars no character
    // of "![]`.," in the field (the closer of a "<<...>>" form is not field
    // text). Valid: true, plPsDot the dot's position, psMsg untouched.
    // Invalid: false, plPsDot 0, psMsg text 5272 (no dot), 5273 (two dots)
    // or 5274 (bad character). 16-bit: a dot past 32,767 fails with 6.
    bool TableFieldStringValidFnB(std::string_view psTableField, bool pbCheckFieldChars,
                                  std::int32_t& plPsDot, std::string& psMsg) const;

    // ---- Cursor parsers ----------------------------------------------------

    // The text from the cursor (raised to 1) up to the next delimiter; the
    // cursor moves behind it, or becomes 0 with the rest taken. A source that
    // ends in a delimiter gives a last empty piece. Pieces are not trimmed.
    std::string ParseStringFnS(std::int32_t& plPsCsr, std::string_view psSrhStrg,
                               std::string_view psDelim = ",") const;
    // The next CSV field, unquoted, from the cursor (raised to 1): control
    // characters and blanks before it are skipped; a field opened by psQuote
    // ends at the next psQuote that is not a doubled quote, and what follows
    // up to the next comma is dropped. Every doubled double-quote in the field
    // becomes psQuote. The cursor moves behind the next comma, or becomes 0.
    std::string ParseCSVFnS(std::int32_t& plCurrPs, std::string_view psSrhStrg,
                            std::string_view psQuote = "\"") const;
    // Splits a CSV line (trimmed) into prsLineV: element 0 is "", fields
    // stand from 1, and the upper bound is the count of fields; an empty line
    // gives bounds 0 to 0.
    void CSVLineSplit(std::string_view pvsLine, VArray& prsLineV) const;
    // Finds the next double-quoted span from plStartPs (doubled quotes inside
    // it are skipped): plStartPs becomes the opening quote's position and the
    // result is the position behind the closing quote. Without a pair the
    // result is 0 and plStartPs stays.
    // REQUIRES: plStartPs >= 1 (else VornError 5).
    std::int32_t EndQuotePsFnL(std::int32_t& plStartPs, std::string_view psText) const;
    // The trimmed piFLen characters at the cursor; the cursor moves on by
    // piFLen. 16-bit: a cursor that would pass 32,767 fails with 6 and stays.
    // REQUIRES: piPsCsr >= 1 and piFLen >= 0 (else VornError 5).
    std::string GetFxFldFnS(std::int16_t& piPsCsr, std::int16_t piFLen,
                            std::string_view psData) const;
    // Replaces the next occurrence of psWas (text comparison) from the cursor
    // by psNew and moves the cursor behind the new text; without one the
    // cursor becomes 0. A cursor below 1 does nothing. Loop while cursor > 0.
    void ReplaceString(std::int32_t& plPsCsr, std::string& psSource, std::string_view psWas,
                       std::string_view psNew) const;

    // ---- Comma and delimited lists -----------------------------------------

    // Appends "," + item unless the item is "" or already in the list
    // (ignoring case). The comma is always written: adding to an empty list
    // gives ",item". With pbSplitList every item of psAppend is added so.
    void AddToCommaList(std::string& psCommaList, std::string_view psAppend,
                        bool pbSplitList = false) const;
    // Removes "," + item + "," from the list framed in commas (kBinaryCompare
    // or kTextCompare; another code fails with 5). Of two neighbouring equal
    // items only the first goes.
    void RemoveFromCommaList(std::string& psList, std::string_view psItem,
                             std::int16_t piCompare = kBinaryCompare) const;
    // The item is in the comma list, ignoring case; "" is never in a list.
    bool StringInCommaListFnB(std::string_view psSource, std::string_view psSearch) const;
    // The same with any delimiter, by text comparison.
    bool StringInDelimitedListFnB(std::string_view psSource, std::string_view psSearch,
                                  std::string_view psDelimiter) const;
    // The 1-based character position of the item in the list (ignoring
    // case); 0 when absent or when the item is "".
    std::int32_t PsInCommaListFnL(std::string_view psCommaList, std::string_view psString,
                                  std::string_view psDelim = ",") const;
    // Occurrences without overlap: binary when the search has no letters,
    // else by text comparison. An empty search counts 0.
    std::int32_t StringCountFnL(std::string_view psSource, std::string_view psSearch) const;
    // Splits the list into psCommaListV with its first item at plStart and
    // empty elements below; returns the upper bound. An empty list leaves the
    // array untouched and returns 0. plStart copies of the delimiter's first
    // character are put in front before the split, so a delimiter of more
    // than one character does not shift items as one would expect.
    std::int32_t CommaListToArrayFnL(std::string_view psCommaList, VArray& psCommaListV,
                                     std::int32_t plStart = 1, std::string_view psDelim = ",") const;
    // Elements 0 to the upper bound joined by the delimiter (Null and Empty
    // as ""). The array must have an element 0 (else VornError 9).
    std::string DelimListFnS(std::string_view psDelim, const VArray& pvListV) const;
    // The item at 1-based plEleNum; "" for an empty list or a number out of
    // range.
    std::string DelimListItemFnS(std::string_view psList, std::int32_t plEleNum,
                                 std::string_view psSep) const;
    // The first element from lower to upper bound whose text is not "", or
    // "". 16-bit: bounds outside -32,768..32,767 fail with 6.
    std::string FirstDataFnS(const VArray& pvList) const;
    // "," + text, unless the text is "" or begins with ",".
    std::string AddLeadingCommaFnS(std::string_view psText) const;
    // Right (2, 3): right-trims blanks once, then cuts every trailing comma.
    // Left (1, 3): then cuts every leading comma. Only commas go: a blank
    // between commas stops the cut.
    void TrimCommas(std::string& psText,
                    std::int16_t piTrimCommasOption = fr_TrimCommas_LeftRight) const;

    // ---- Quotes, brackets and mechanical members ---------------------------

    std::string AddParenFnS(std::string_view psString) const;
    // The double-quote character on both sides; nothing inside changes.
    std::string AddQuotesFnS(std::string_view psData) const;
    // Every item of the comma list in double quotes.
    std::string AddQuotesToListFnS(std::string_view psList) const;
    // Every "'" doubled, then "'" on both sides.
    std::string AddSingleQuotesFnS(std::string_view psString) const;
    // Every item in single quotes; a "'" inside an item ends up fourfold.
    std::string AddSingleQuotesToListFnS(std::string_view psList) const;
    // A text of at least 2 characters framed by two double quotes or by two
    // single quotes loses them. 16-bit: longer than 32,767 fails with 6.
    std::string StripQuotesFnS(std::string_view psSource) const;
    // "[name]" with every "." as "].[", unless the name is "" or holds "[".
    void AddBrackets(std::string& psName) const;
    std::string AddBracketsFnS(std::string_view psName) const;
    // "[list]" with every "," as "],[", unless the list is "" or holds "[".
    std::string AddBracketsToListFnS(std::string_view psList) const;
    // "[table].[field]", or the one name given, bracketed; "" for none.
    std::string BracketedTableFieldFnS(std::string_view psTable, std::string_view psField) const;
    // Every "[" and "]" removed.
    std::string RemoveBracketsFnS(std::string_view psSource) const;
    // " In " + the file in single quotes, or in double quotes when it holds "'".
    std::string FilenameInSQLFnS(std::string_view psFileSpec) const;
    // Every "&" doubled.
    std::string AmpersandDoubleFnS(std::string_view psSource) const;
    // "&&" becomes "&", every other "&" goes. A character of code 0 in the
    // source comes out as "&": it holds the place of the pairs meanwhile.
    std::string AmpersandSingleFnS(std::string_view psSource) const;
    // Every tab as two blanks.
    std::string TabReplaceFnS(std::string_view psData) const;
    // Every character of code 0 removed.
    std::string StripNullCharFnS(std::string_view psInput) const;
    // Blanks directly before a line end removed; blanks behind the last line
    // end stay.
    void TrimLineTrailingSpaces(std::string& psString) const;
    // Every "_" + line end cut out with the blanks behind it, so the next
    // line joins on, until none is left.
    void RemoveLineCont(std::string& psSource) const;
    // Pairs of psChar replaced by one until no pair is left.
    void ReduceRepeatedChars(std::string& psString, std::string_view psChar) const;
    // Removes each character of psChars, binary or ignoring case. Only the
    // first Length(psSource) characters of psChars are taken (16-bit: a
    // source longer than 32,767 fails with 6).
    std::string RemoveCharsFnS(std::string_view psSource, std::string_view psChars,
                               bool pbCaseSensitive = true) const;
    // Line ends and blanks cut at the right end, then "<<CR>>" marks (exact
    // case) with the blanks before them; with pbStripLeft the same at the left
    // end, where "<<CR>>" is matched in any case.
    std::string StripCrLfFnS(std::string_view psSource, bool pbStripLeft) const;
    // Changes the case of characters piPsStart..piPsEnd (start below 1 is 1,
    // end below 1 the length): 76 "L" lower, 85 "U" upper, 82 "R" inverted
    // (A-Z lowered, everything else raised), 84 "T" title case (upper after a
    // blank, line feed or "-", else lower). Another code changes nothing.
    // 16-bit: a length past 32,767 taken as the end fails with 6.
    std::string ChangeCaseFnS(std::int16_t piChangeOp, std::string_view psText,
                              std::int16_t piPsStart, std::int16_t piPsEnd) const;
    // "X" for true, "" for false.
    std::string XforTrueFnS(bool pbData) const;
    std::string HTMLStartTagFnS(std::string_view psTag) const;
    std::string HTMLEndTagFnS(std::string_view psTag) const;
    // The Windows-1252 code of the first character (63 for a character it
    // lacks); -1 for "".
    std::int16_t AscFnI(std::string_view psString) const;
    // The longest left part that reads as a number, right-trimmed; "" for
    // none. 16-bit: a datum longer than 32,767 fails with 6.
    std::string LeftNumberFnS(std::string_view psDatum) const;
    // The greatest length among elements piStartEl..upper bound; 0 for none.
    // 16-bit: a length past 32,767 fails with 6.
    std::int16_t LongestStrFnI(const VArray& psDataV, std::int16_t piStartEl) const;
    // The text behind the first " '" up to the next "'"; "" without both.
    std::string ObjNameFromStringFnS(std::string_view psSource) const;
    // True for the shift, control and alt key codes 16, 17, 18.
    bool KeySameAsShiftFnB(std::int16_t piKeyCode) const;
    // Kept on the interface; does nothing.
    void ConvertRichText(std::string& psData) const;

    // ---- Conversions that never fail ---------------------------------------
    // A failure gives the value stated and leaves Err() clear.

    // Text to number; on failure -1 when the text is LocalizedTrue, else 0.
    double CVDblFnD(std::string_view psSource) const;
    float CVSngFnN(std::string_view psSource) const;
    std::int32_t CVLngFnL(std::string_view psSource) const;
    std::int16_t CVIntFnI(std::string_view psSource) const;
    // Trimmed text to boolean ("True", "False", numbers); false on failure.
    bool CVBoolFnB(std::string_view psSource) const;
    // A value that reads as a number, to boolean; false otherwise.
    bool CVarBoolFnB(const Variant& pvSource) const;
    // A value that reads as a number, to a 32-bit integer; 0 otherwise.
    std::int32_t CVarLongFnL(const Variant& pvSource) const;
    // A value's text; "" for Null and on failure.
    std::string CVarStrFnS(const Variant& pvSource) const;
    // Four bytes at 0-based plStart, little-endian, as a signed 32-bit value.
    // A value of 2^31 or more fails with 6; bytes past the buffer with 9.
    std::int32_t CVByteFnL(const std::vector<std::uint8_t>& pyBuffV, std::int32_t plStart) const;
    // A number text rounded to a whole number (floor of value + 0.5) that
    // lies in 0..16777215 is stored in plColorNumber: true. Otherwise false
    // and plColorNumber stays.
    bool IsColorNumberFnB(std::string_view psColor, std::int32_t& plColorNumber) const;

    // ---- Platform ----------------------------------------------------------

    // The account name of the effective user, else $USER; "" when neither
    // is known or the name does not fit 99 characters.
    std::string UserNameFnS() const;
    // A new random (version 4) identifier, 36 characters, upper-case hex,
    // "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX".
    std::string UUIDFnS() const;
    // True when the user's locale writes numbers with a radix character
    // other than "."; false when it cannot be read. The process locale is
    // not touched.
    bool NativeDecimalSeperatorIsNotUS() const;
    // Opens a document or address with the desktop's opener when a display
    // exists; otherwise does nothing. "" does nothing; a missing file whose
    // name holds neither "http" nor "www" is not opened. "\" in the name is
    // read as "/". Failures are dropped: the caller never sees one.
    // phWndForm, psParameters, plShowCmd and psOperation have no meaning for
    // the desktop opener and are accepted for the interface's sake.
    void ShellExecuteEnc(std::int64_t phWndForm, std::string_view psFile,
                         std::string_view psParameters, std::string_view psDirectory,
                         std::int32_t plShowCmd, std::string_view psOperation = "open") const;
    // The bytes of the file from the first psSrhStrg at or behind plPsFile
    // (1-based byte position, compared ignoring case) through the first
    // character of the next psEndStrg behind it, or to the end of the file
    // when there is none. "" when the start is not found, or the end pattern
    // is "" or cannot fit behind the start. A file that cannot be read fails
    // with VornError 53 or 75 from "CAx0.ExtractSegmentFromFileFnS".
    // REQUIRES: plPsFile >= 1 (else VornError 5).
    std::string ExtractSegmentFromFileFnS(std::int32_t plPsFile, std::string_view psFileName,
                                          std::string_view psSrhStrg,
                                          std::string_view psEndStrg) const;

    // ---- Arrays, numbers, dates and colours --------------------------------
    // Declared here and defined in sources of their own (CAx0Arrays.cpp,
    // CAx0Numbers.cpp); they share only the state above.

private:
    // The text of a text id with its replacements, from the session's text
    // table.
    static std::string Text(std::int32_t id, const std::vector<std::string>& replacements = {});
    // A plain search: the 1-based position of psFind in psText from start, 0
    // when absent. A start below 1 fails with 5 under the name `member`.
    static std::int32_t Search(std::int64_t start, std::string_view psText, std::string_view psFind,
                               bool textCompare, const char* member);
    // The length in code points, held in 16 bits: past 32,767 fails with 6
    // under the name `member`.
    static std::int16_t Length16(std::string_view psText, const char* member);

    bool doubleByte_ = false;
    bool entityPropsByLayer_ = false;
    std::string localizedTrue_;
    std::string formatDate_;
    std::string formatTime_;
};

// The session's utility object.
CAx0& Ax();

}  // namespace vorn
