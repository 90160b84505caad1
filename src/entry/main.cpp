// vornc: moves site-investigation projects between project files and an
// enterprise database, from the command line.

#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>
#include <string_view>

#include "entry/ConvertCommand.h"
#include "entry/SchemaCommand.h"
#include "entry/UpsizeCommand.h"
#include "entry/Version.h"
#include "runtime/VornError.h"

namespace {

constexpr const char* kUsage = R"(Usage: vornc [--help] [--version]
       vornc schema FILE|TARGET [--json]
       vornc convert SOURCE TARGET [--force]
       vornc "<provider>;<server>;<database>;<user>;<password>","<source1>"[,"<source2>"...]

Moves site-investigation projects (points and boreholes, samples, readings,
drawing pages) from single-user project files into one multi-project
enterprise database.

The second form upsizes each source project file, in order, into the named
enterprise database, and ends with the result of the first source as exit
code: the project number (above 0) on success, 0 when it was cancelled or
refused by a lock, a negative number when it failed (-1 shows as 255).
Give the whole text as one argument, quoted for the shell:

  vornc '"4;dbserver;SiteData;analyst;secret","/data/site1.vpj"'

Providers: 2 Oracle, 4 SQL Server, 8 MySQL/MariaDB.
A text without a comma starts no job and exits with 0.

Commands:
  schema FILE  print the design of a project file: tables, fields with their
               types and sizes, indexes, relations, saved queries and
               properties; --json gives the same as JSON. The file is opened
               read only and never changed. Jet and ACE files (.mdb, .accdb,
               .vpj of the earlier system) are read as well. An enterprise
               database is named by a target instead: sqlite:PATH or
               mysql://USER@HOST[:PORT]/DATABASE (password from
               VORN_PASSWORD or a prompt); see docs/connection-targets.md.
  convert SOURCE TARGET
               write SOURCE (a Jet/ACE file or one of ours) as a project file
               of this system's format; --force replaces an existing TARGET.
               A database password comes from VORN_JET_PASSWORD or a prompt.

Options:
  --help       show this text
  --version    show the program's version
)";

void PrintUsage(std::FILE* out) { std::fputs(kUsage, out); }

}  // namespace

int main(int argc, char** argv) {
    if (argc >= 2) {
        const std::string_view first = argv[1];
        if (first == "--help" || first == "-h") {
            PrintUsage(stdout);
            return 0;
        }
        if (first == "--version") {
            std::printf("vornc %s\n", vorn::kProgramVersion);
            return 0;
        }
        if (first == "schema") return vorn::RunSchema(argc, argv);
        if (first == "convert") return vorn::RunConvert(argc, argv);
        if (first.size() > 1 && first[0] == '-' && first[1] == '-') {
            std::fprintf(stderr, "vornc: unknown option '%s'\n\n", argv[1]);
            PrintUsage(stderr);
            return 2;
        }
    }
    // The whole argument text is one job description.
    std::string text;
    for (int i = 1; i < argc; ++i) {
        if (i > 1) text += ' ';
        text += argv[i];
    }
    return vorn::RunUpsize(text);
}
