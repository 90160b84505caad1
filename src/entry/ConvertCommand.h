#pragma once

namespace vorn {

// vornc convert SOURCE TARGET [--force]
//
// Writes a project file of this system's own format at TARGET with
// everything the project file SOURCE holds (a Jet or ACE file, or one of our
// own, which is then compacted into the target): tables with their fields,
// indexes and properties, rows, relations, saved queries and the database's
// properties. A terminal shows the progress. An existing TARGET is replaced
// only with --force, and only once the new file is complete. A database
// password is taken from VORN_JET_PASSWORD or asked on the terminal, never
// from the command line. `argv[1]` is "convert". Returns the exit code: 0
// done, 1 failed (the reason on standard error), 2 wrong arguments.
int RunConvert(int argc, char** argv);

}  // namespace vorn
