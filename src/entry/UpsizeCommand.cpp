#include "entry/UpsizeCommand.h"

#include <algorithm>
#include <cstdio>

#include "entry/Session.h"
#include "runtime/Conversions.h"
#include "runtime/Utf8.h"
#include "runtime/Variant.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

constexpr int kFailed = -1;
constexpr std::size_t kConnectionFields = 5;

std::vector<std::string> SplitAt(std::string_view text, char separator) {
    std::vector<std::string> parts;
    for (;;) {
        const auto at = text.find(separator);
        parts.emplace_back(text.substr(0, at));
        if (at == std::string_view::npos) return parts;
        text.remove_prefix(at + 1);
    }
}

std::string WithoutDoubleQuotes(std::string text) {
    std::erase(text, '"');
    return text;
}

}  // namespace

std::vector<std::string> SplitCommandText(std::string_view text) {
    if (text.empty()) return {};
    return SplitAt(text, ',');
}

UpsizeJob UpsizeJobFromItems(const std::vector<std::string>& items) {
    static constexpr std::string_view kSource = "vOrnC";
    if (items.empty()) throw VornError::SubscriptOutOfRange(std::string(kSource));
    const std::vector<std::string> fields = SplitAt(WithoutDoubleQuotes(items[0]), ';');
    if (fields.size() < kConnectionFields) throw VornError::SubscriptOutOfRange(std::string(kSource));
    UpsizeJob job;
    job.providerType = CInt(Variant(fields[0]));
    job.server = fields[1];
    job.database = fields[2];
    job.userName = fields[3];
    job.password = fields[4];
    for (std::size_t i = 1; i < items.size(); ++i) {
        job.sources.emplace_back(utf8::Trim(WithoutDoubleQuotes(items[i])));
    }
    return job;
}

int RunUpsize(std::string_view text) {
    const std::vector<std::string> items = SplitCommandText(text);
    if (items.size() == 1) return 0;
    StartSession();
    try {
        const UpsizeJob job = UpsizeJobFromItems(items);
        (void)job;
    } catch (const VornError& e) {
        std::fprintf(stderr, "vornc: the job text cannot be read: %s (error %d). See vornc --help.\n",
                     e.Description().c_str(), e.Number());
        return kFailed;
    }
    std::fputs("vornc: the upsize of project files is not part of this build yet.\n", stderr);
    return kFailed;
}

}  // namespace vorn
