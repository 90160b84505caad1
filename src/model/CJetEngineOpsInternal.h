#pragma once

// Small helpers shared by the sources of CJetEngineOps and
// clsEnterpriseDbData; not part of any public interface.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorn::jetops {

// The foundation's brackets: "[name]" unless the name is "" or already holds
// "["; an owner stays apart ("dbo.SAMPLE" gives "[dbo].[SAMPLE]").
std::string Bracketed(std::string_view name);

// A text of the text table; "???TextID <id>???" before the session made it.
std::string Text(std::int32_t id, const std::vector<std::string>& replacements = {});

// Writes "<where>: <description of the current error>" to the trace log, as
// the handlers that "log and raise" do. Leaves Err() as it was.
void LogFailure(std::string_view where);

// Shows the failure in Err() in a message box titled `title`: the texts
// 4103 and 5399, then number, source and description.
void ShowFailure(std::string_view title);

// Splits on an exact delimiter; "" gives one empty part.
std::vector<std::string> SplitOn(std::string_view text, std::string_view delimiter);

// The server sort form of a bracketed field `f`, with `last` in the place
// of a text that is not numeric: whole numbers padded to 12 places on the
// left, numbers with a point and texts as they are.
std::string ServerSortForm(std::string_view f, std::string_view last);

// The Jet sort form of the project selection: numbers (not in exponent form)
// zero-padded, negatives by their reciprocal so that they come first.
std::string JetSelectionSortForm(std::string_view f);

}  // namespace vorn::jetops
