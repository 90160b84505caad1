#include "entry/ConvertCommand.h"

#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>
#include <unistd.h>

#include "dbcontract/DBEngine.h"
#include "dbcontract/jet/JetOpenOptions.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/UserInterface.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

struct ConvertArguments {
    std::string source;
    std::string target;
    bool force = false;
};

// Reads the arguments after "convert"; nullopt (after telling why) when
// they are not SOURCE TARGET [--force].
std::optional<ConvertArguments> ParseArguments(int argc, char** argv) {
    ConvertArguments parsed;
    for (int i = 2; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (arg == "--force") {
            parsed.force = true;
        } else if (arg.starts_with("--")) {
            std::fprintf(stderr, "vornc convert: unknown option '%s'\n", argv[i]);
            return std::nullopt;
        } else if (parsed.source.empty()) {
            parsed.source = arg;
        } else if (parsed.target.empty()) {
            parsed.target = arg;
        } else {
            std::fprintf(stderr, "vornc convert: unexpected argument '%s'\n", argv[i]);
            return std::nullopt;
        }
    }
    if (parsed.target.empty()) {
        std::fputs("vornc convert: name the source and the new project file, "
                   "e.g. vornc convert site1.mdb site1.vpj [--force]\n",
                   stderr);
        return std::nullopt;
    }
    return parsed;
}

// Shows the rows copied on a terminal; the user's abort stops the work.
class ConvertProgress {
public:
    explicit ConvertProgress(const std::string& source) {
        if (isatty(STDERR_FILENO) == 0) return;
        display_ = Ui().MakeProgressDisplay();
        display_->Show("Converting " + source);
        display_->ProgressBarVisible(true);
        display_->ProgressLabel(true);
    }
    ~ConvertProgress() {
        if (display_) display_->Close();
    }
    ConvertProgress(const ConvertProgress&) = delete;
    ConvertProgress& operator=(const ConvertProgress&) = delete;

    void Show(const std::string& table, std::int64_t done, std::int64_t total) {
        if (!display_) return;
        display_->FloodPercent(static_cast<std::int16_t>(total > 0 ? done * 100 / total : 0));
        display_->ProgressText("Table " + table + ": " + std::to_string(done) + " of " + std::to_string(total) + " rows");
        if (display_->TakeRequest() != ProgressRequest::kNone) {
            throw VornError(errnum::kJetCannotPerform, "vornc", "The conversion was cancelled; nothing was written.");
        }
    }

private:
    std::unique_ptr<ProgressDisplay> display_;
};

[[noreturn]] void Refuse(std::int32_t number, const std::string& why) {
    throw VornError(number, "vornc", why + " Nothing was written.");
}

// The checks a user needs before any work: the source first, then a target
// that --force may replace but that must never be the source or a folder.
void CheckFiles(const ConvertArguments& args) {
    namespace fs = std::filesystem;
    std::error_code error;
    if (!fs::exists(args.source, error)) Refuse(errnum::kJetFileNotFound, "Could not find file '" + args.source + "'.");
    const fs::path folder = fs::absolute(args.target, error).parent_path();
    if (!fs::is_directory(folder, error)) {
        Refuse(errnum::kJetNotValidPath, "The folder '" + folder.string() + "' of the target does not exist.");
    }
    if (access(folder.c_str(), W_OK) != 0) {
        Refuse(errnum::kJetCannotOpenFile, "The folder '" + folder.string() + "' of the target cannot be written to.");
    }
    if (!fs::exists(args.target, error)) return;
    if (fs::equivalent(args.source, args.target, error)) {
        Refuse(errnum::kJetDatabaseExists, "The target '" + args.target + "' is the source itself.");
    }
    if (fs::is_directory(args.target, error)) {
        Refuse(errnum::kJetDatabaseExists, "The target '" + args.target + "' is a folder; name the new project file.");
    }
    if (!args.force) {
        Refuse(errnum::kJetDatabaseExists, "The file '" + args.target + "' already exists; give --force to replace it.");
    }
}

void Convert(const ConvertArguments& args) {
    CheckFiles(args);
    ConvertProgress progress(args.source);
    JetOpenOptions how;
    how.progress = [&progress](const std::string& table, std::int64_t done, std::int64_t total) {
        progress.Show(table, done, total);
    };
    how.warnings = [](const std::vector<std::string>& warnings) {
        for (const std::string& warning : warnings) std::fprintf(stderr, "vornc convert: warning: %s\n", warning.c_str());
    };
    // Written beside the target and put in its place when whole, so that a
    // replaced target is never lost to a failed conversion.
    const std::string partial = args.target + ".partial-" + std::to_string(getpid());
    std::error_code ignored;
    std::filesystem::remove(partial, ignored);
    try {
        DaoEngine().CompactDatabase(args.source, partial, how);
        std::filesystem::rename(partial, args.target);
    } catch (...) {
        std::filesystem::remove(partial, ignored);
        throw;
    }
}

}  // namespace

int RunConvert(int argc, char** argv) {
    const auto args = ParseArguments(argc, argv);
    if (!args) return 2;
    try {
        Convert(*args);
        return 0;
    } catch (const VornError& e) {
        std::fprintf(stderr, "vornc convert: %s (error %d)\n", e.Description().c_str(), e.Number());
        return 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "vornc convert: %s\n", e.what());
        return 1;
    }
}

}  // namespace vorn
