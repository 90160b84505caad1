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
    ~CAx0();
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
    // CAx0Numbers.cpp); they share only the state above and the clock below.
    //
    // Arrays are VArray throughout, also where the host passes a typed array
    // of text or of 32-bit integers: these members answer in the array's own
    // index space (a found index, "numbered from 1", "n items have upper
    // bound n"), which a std::vector, always from 0, cannot carry. Elements
    // are read as the typed array held them: text by CStr with Null and Empty
    // as "", integers by their numeric value with Empty as 0. An undimensioned
    // array fails with VornError 9 from the bounds, as an unallocated array
    // did; ArrayIsDimmedFnB is the guard.

    // -- Searches. Text matches ignore the case of ASCII and Latin-1 letters.

    // The first element from lower to upper bound equal to psFind: true with
    // plFoundIdx its index; false with plFoundIdx unchanged.
    bool FindExactFnB(VArray& psSearchV, std::int32_t& plFoundIdx, std::string_view psFind) const;
    // Searches the whole array as FindExactFnB; plFoundAt becomes the found
    // index minus the start (the larger of plFoundAt and the lower bound), so
    // callers pass the lower bound and add the start back. -1 when absent,
    // which a match before the start also gives. 16-bit: an index or start
    // outside -32,768..32,767 fails with 6.
    void FindExact(VArray& psArray, std::int32_t& plFoundAt, std::string_view psFindMe) const;
    // Walks the second index of a grid in column plDim, over the bounds of
    // dimension plDim + 1 from the larger of plFoundAt and that lower bound:
    // plFoundAt becomes the found index minus that start, or -1.
    void FindExactMultiDim(VArray& psArray, std::int32_t& plFoundAt, std::string_view psFindMe,
                           std::int32_t plDim) const;
    // From the larger of plFoundAt and the lower bound: true with plFoundAt
    // the index; false with plFoundAt unchanged.
    bool FindExactVarArrayFnB(VArray& pvArray, std::int32_t& plFoundAt,
                              std::string_view psFindMe) const;
    // From the upper bound down, so the last occurrence wins; -1 when absent.
    void FindExactLong(VArray& plArrayV, std::int32_t plFindWhat, std::int32_t& plInd) const;
    // The first element from the larger of plFoundAt and the lower bound that
    // holds psFindMe; plFoundAt its index or -1. An element "" holds nothing.
    void FindSubstringInStringArray(VArray& psArray, std::int32_t& plFoundAt,
                                    std::string_view psFindMe) const;
    // The same as a test: false leaves plFoundAt raised to the lower bound.
    bool SearchVectorAnyPosFnB(VArray& psDataV, std::int32_t& plFoundAt,
                               std::string_view psFind) const;
    // Binary search of an array sorted by upper-cased text for the trimmed
    // psFindMe; plFoundAt the index, or 0 when absent (so a find at index 0
    // cannot be told from absence).
    void FindStringBinary(VArray& psArrayV, std::int32_t& plFoundAt,
                          std::string_view psFindMe) const;

    // -- Sorts.

    // Shell sort of elements pl1stEle..plLastEle by upper-cased text; equal
    // keys have no fixed order.
    void ArraySortStrg(VArray& psDataV, std::int32_t pl1stEle, std::int32_t plLastEle) const;
    // Orders the elements of a one-dimensional array, or the rows (second
    // index) of a grid by column plCol, in place: numerically when every key
    // reads as a number, else by upper-cased text. piDir >= 1 ascending,
    // < 0 descending, 0 ascending unless already so, then descending. Rows
    // from the lower bound: plRows of them, or all when plRows < 0 (plRows is
    // then set to their count). plRowCurr, when a row of that range, follows
    // its row to the new place. Equal keys keep their order.
    void SortArray(VArray& psDataA, std::int32_t plCol = 0, std::int16_t piDir = 1,
                   std::int32_t plRows = -1) const;
    void SortArray(VArray& psDataA, std::int32_t plCol, std::int16_t piDir, std::int32_t& plRows,
                   std::int32_t& plRowCurr) const;
    // Orders grid rows 1..plNumRows by the natural key in column piPsKey
    // ("B9" before "B10", text before a tab kept as a prefix) and writes each
    // row's rank from 1 into column piPsSort, as text, where it differs. A
    // row whose rank changed gets its id in column piPsRecID (when >= 0)
    // negated, when above 0. Then, with pbSortFinalArray, the whole grid is
    // sorted by the sort column.
    void VornTextKeySort(VArray& psDataA, std::int32_t plNumRows, std::int16_t piPsKey,
                         std::int16_t piPsSort, std::int16_t piPsRecID = -1,
                         bool pbSortFinalArray = true) const;

    // -- Pointers, dimensions, moves, concatenation.

    // Each element of a one-dimensional array becomes its own index (Long).
    void PointerArrayInit(VArray& plPointerV) const;
    // The number of dimensions; 0 for an undimensioned array or a variant
    // that holds no array.
    std::int16_t ArrayDimensionsFnI(const VArray& pvArray) const;
    std::int16_t ArrayDimensionsFnI(const Variant& pvArray) const;
    // True when dimension plCheckDim exists and its upper bound is 0 or more
    // (so an array -3..-1 counts as not dimmed); never fails.
    bool ArrayIsDimmedFnB(const VArray& pvArray, std::int32_t plCheckDim = 1) const;
    bool ArrayIsDimmedFnB(const Variant& pvArray, std::int32_t plCheckDim = 1) const;
    // Moves element plPsOld to plPsNew and closes the gap, touching only
    // elements from plFirstIndex on. plPositionCode adjusts the target: its
    // negative part when moving up, its positive part when moving down;
    // plPsNew returns the adjusted target. With pbValueNotIndex plPsOld is a
    // value, looked up by FindExactLong (one not found fails with 9). A move
    // that the adjustment turns back past its start changes nothing.
    void ArrayMemberMoveLong(VArray& plArrayV, std::int32_t plFirstIndex, std::int32_t plPsOld,
                             std::int32_t& plPsNew, std::int32_t plPositionCode = 0,
                             bool pbValueNotIndex = false) const;
    // Appends the second-index entries of psAddV behind those of psBaseV,
    // keeping the first dimension; psAddV without a second dimension changes
    // nothing, and a psBaseV without one becomes a copy of psAddV. A first
    // dimension of psAddV that base lacks fails with 9 before any change.
    void ConcatenateArrays2D(VArray& psBaseV, VArray& psAddV) const;
    // A new text array from 0: the elements of ps1V, then those of ps2V.
    VArray ConcatenateArraysFnVS(VArray& ps1V, VArray& ps2V) const;

    // -- Numbers.

    static constexpr std::int16_t gi_Interp_Arith = 0;
    static constexpr std::int16_t gi_Interp_Log = 1;

    // pdValue rounded to a multiple of pdRoundTo, halves away from zero,
    // with a nudge of 4.5e-9 against binary noise when pdRoundTo >= 1e-8.
    // pdRoundTo 0 fails with 11 (6 for a value of 0), as division did.
    double RoundToFnD(double pdRoundTo, double pdValue) const;
    // psData becomes the text of RoundToFnD of the two read as numbers, when
    // neither is "".
    void RoundoffText(std::string_view psRoundTo, std::string& psData) const;
    // Linear interpolation; gi_Interp_Log on either side works on natural
    // logarithms there. A logarithm of a value <= 0 fails with 5, equal
    // reference values with 11 (6 when the key equals them too).
    double InterpolateFnD(double pdKeyVal, double pdRefLow, double pdRefHigh, double pdValLow,
                          double pdValHigh, std::int16_t piTypeRef = gi_Interp_Arith,
                          std::int16_t piTypeVal = gi_Interp_Arith) const;
    // Lays out the ticks and the numbered ticks of a graph axis so that the
    // numbers do not collide: the number format, the first tick's value and
    // offset, the tick spacing in length units, and the numbering step (1, 2,
    // 5 or 10 ticks). piDivNumInc is a 16-bit integer, so an increment below
    // 1 rounds (half to even) and may fail the division that follows with
    // 11. A zero side length or data range fails with 11 or 6.
    void DivNumFreqArith(bool pbDirY, double pdTextHt, float pnDivAngle, double pdSideLen,
                         double pdDivInc, double pdDataMin, double pdDataMax,
                         bool pbFrameDivSuppress1000Sep, double& pdDivFirstOffset,
                         double& pdDivIncCoor, double& pdDivValueStart, std::int16_t& piNumDiv,
                         std::int16_t& piDivNumInc, double& pdDivNumIncCoor,
                         std::int16_t& piDivNumTotal, std::string& psDivNumFormat) const;
    // A spreadsheet column code: 1 "A", 26 "Z", 27 "AA"; "" below 1.
    std::string AlphaSeqFnS(std::int32_t plNum) const;
    double MaxValFnD(double a, double b) const { return a > b ? a : b; }
    float MaxValFnN(float a, float b) const { return a > b ? a : b; }
    std::int16_t MaxValFnI(std::int16_t a, std::int16_t b) const { return a > b ? a : b; }
    std::int32_t MaxValFnL(std::int32_t a, std::int32_t b) const { return a > b ? a : b; }
    double MinValFnD(double a, double b) const { return a < b ? a : b; }
    float MinValFnN(float a, float b) const { return a < b ? a : b; }
    std::int16_t MinValFnI(std::int16_t a, std::int16_t b) const { return a < b ? a : b; }
    std::int32_t MinValFnL(std::int32_t a, std::int32_t b) const { return a < b ? a : b; }
    void SwapBool(bool& a, bool& b) const { std::swap(a, b); }
    void SwapDbl(double& a, double& b) const { std::swap(a, b); }
    void SwapInt(std::int16_t& a, std::int16_t& b) const { std::swap(a, b); }
    void SwapLng(std::int32_t& a, std::int32_t& b) const { std::swap(a, b); }
    void SwapSng(float& a, float& b) const { std::swap(a, b); }
    void SwapStrg(std::string& a, std::string& b) const { std::swap(a, b); }
    bool BothTrueFnB(bool pbBool1, bool pbBool2) const { return pbBool1 && pbBool2; }
    // The low 16 bits, 0..65535.
    std::int32_t LOWORD(std::int32_t plNumber) const { return plNumber & 0xFFFF; }
    // Clamped to -32,768..32,767, then rounded half to even.
    std::int16_t ShortIntConstrainFnI(double pdSourceNumber) const;
    std::int16_t SingleToIntegerOverflowCheckFnI(float pnValue) const;

    // -- Dates and sort keys.

    // The product's date text under FormatDate: "" stays ""; a day number
    // with a "." is read as a date first; with FormatDate "" the text comes
    // back as it is. Otherwise the date formatted by FormatDate (two-digit
    // years 30-99 read as 19xx, others as 20xx) and, when the text has a time
    // or holds ":0", a blank and the time under FormatTime. Text that is no
    // date gives "".
    std::string VornFullDateFnS(std::string_view psDate) const;
    // VornFullDateFnS of the current date and time.
    std::string VornNowDate() const;
    // The current date and time as a day number, in text.
    std::string NowNumberFnS() const;
    // A text that sorts in order: a number written in its own canonical form
    // as "00000000000.00000" (a negative one as its reciprocal), a date of 8
    // or more characters as "yyyymmddhhnn", anything else unchanged.
    std::string SortFormatFnS(std::string_view psSort) const;
    // Turns a date keyword spec into a date format: a character of code 0,
    // the order digit (0 m/d/y, 1 d/m/y, 2 y/m/d), the day and month width
    // minus 1, then the keyword (quotes and token delimiters ignored, any
    // case). False, and the text unchanged, for no spec or an unknown
    // keyword.
    bool FormatSpecFnB(std::string& psFormatOrg) const;
    // Keeps a timer sample: piStart 0 takes a new start and resets the
    // count; any other value counts a lap and keeps the seconds since the
    // start.
    void DebugTime(std::int16_t piStart);
    std::int32_t DebugTimeCount() const { return debugTimeCount_; }
    double DebugTimeSeconds() const { return debugTimeSeconds_; }
    // The clock behind the members that read the current time: a function
    // giving the local date and time as a serial. nullptr restores the
    // system clock; tests set a fixed one.
    using NowFunction = double (*)();
    void NowClock(NowFunction clock) { nowClock_ = clock; }
    double NowSerial() const;

    // -- Colours: red in the low byte, then green, then blue.

    // plSteps (at least 2) colours from 0 to plSteps - 1, from plColorStart
    // to plColorEnd. Each channel steps by (end - start) / plSteps, so the
    // last gap is larger than the others: the gradient the host expects.
    void BlendColors(std::int32_t plColorStart, std::int32_t plColorEnd, std::int32_t plSteps,
                     VArray& plGradColorsV) const;
    // The three bytes from the low end; a colour below 1 gives zeros.
    void WinColorToRGB(std::int32_t plColor, std::int16_t& piRed, std::int16_t& piGreen,
                       std::int16_t& piBlue) const;
    // The factor that fits the source box into the final box; a final size
    // of 0 (or a source size of 0) does not limit; no limit gives 1.
    double FindControllingScaleFactorFnD(double pdSourceWid, double pdSourceHt, double pdFinalHt,
                                         double pdFinalWid) const;

private:
    NowFunction nowClock_ = nullptr;
    double debugTimeStart_ = 0.0;
    double debugTimeSeconds_ = 0.0;
    std::int32_t debugTimeCount_ = 0;

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
