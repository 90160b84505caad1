#pragma once

namespace vorn {

// vornc schema FILE|TARGET [--json]
//
// Prints the design of a project file (ours, or a Jet/ACE file) or of an
// enterprise database named by a connection target (sqlite:PATH,
// mysql://USER@HOST/DATABASE): tables, fields, indexes, relations, saved
// queries and properties, as text or as JSON. Everything is opened read
// only. `argv[1]` is "schema". Returns the exit code: 0 done, 1 failed (the
// reason on standard error), 2 wrong arguments.
int RunSchema(int argc, char** argv);

}  // namespace vorn
