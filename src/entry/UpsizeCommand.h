#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorn {

// What a command text that runs an upsize asks for:
//   "<provider>;<server>;<database>;<user>;<password>","<source1>"[,"<source2>"...]
struct UpsizeJob {
    std::int16_t providerType = 0;
    std::string server;
    std::string database;
    std::string userName;
    std::string password;
    std::vector<std::string> sources;  // in the order given, numbered from 0
};

// The command text split at every ",", inside double quotes too. An empty
// text gives no item at all; a text without a comma gives one item, which
// names no job.
std::vector<std::string> SplitCommandText(std::string_view text);

// The job of the items of SplitCommandText. Item 0, its double quotes
// removed, split at ";" gives provider, server, database, user and password;
// what stands after a fifth ";" is not read. Each further item, its double
// quotes removed and trimmed of blanks, is a source path, even when that
// leaves it empty. Fails with 9 when there is no item or item 0 has fewer
// than five fields, with 13 when the provider is no number (6 past a 16-bit
// integer).
UpsizeJob UpsizeJobFromItems(const std::vector<std::string>& items);

// Runs the command text as the program's job and gives the exit code. A
// text of one item ends at once with 0, before any session object is made.
// Otherwise the session starts, then the job is read; a job that cannot be
// read is reported on standard error. Until the upsize joins this build the
// run ends as failed. A failure is -1, never a number that could be taken
// for a project number.
int RunUpsize(std::string_view text);

}  // namespace vorn
