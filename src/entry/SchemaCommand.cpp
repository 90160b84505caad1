#include "entry/SchemaCommand.h"

#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>

#include "dbcontract/ConnectionTarget.h"
#include "dbcontract/DBEngine.h"
#include "dbcontract/ProviderRules.h"
#include "entry/SchemaReport.h"
#include "runtime/UserInterface.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

// A project file by its path, or an enterprise database by a connection
// target, opened read only.
std::shared_ptr<Database> OpenForSchema(const std::string& what) {
    if (!what.starts_with("sqlite:") && !what.starts_with("mysql://")) {
        return DaoEngine().OpenDatabase(what, 0, true);
    }
    auto target = ConnectionTarget::FromUrl(what);
    target.ResolvePassword([](std::string_view prompt) {
        return Ui().AskSecret(std::string(prompt)).value_or("");
    });
    const std::string connect =
        std::string(ProviderTag(target.provider)) + "; " + target.ConnectString();
    return DaoEngine().OpenDatabase("", 0, true, connect);
}

}  // namespace

int RunSchema(int argc, char** argv) {
    std::string file;
    bool json = false;
    for (int i = 2; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (arg == "--json") {
            json = true;
        } else if (file.empty() && !arg.starts_with("--")) {
            file = arg;
        } else {
            std::fprintf(stderr, "vornc schema: unexpected argument '%s'\n", argv[i]);
            return 2;
        }
    }
    if (file.empty()) {
        std::fputs("vornc schema: name the project file or target, e.g. vornc schema site1.vpj\n", stderr);
        return 2;
    }
    try {
        const auto database = OpenForSchema(file);
        SchemaReport report(*database);
        if (json) {
            report.WriteJson(std::cout);
        } else {
            report.WriteText(std::cout);
        }
        database->Close();
        return 0;
    } catch (const VornError& e) {
        std::fprintf(stderr, "vornc schema: %s (error %d)\n", e.Description().c_str(), e.Number());
        return 1;
    }
}

}  // namespace vorn
