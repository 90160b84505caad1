// Automatic and numbered backups.
#include <filesystem>
#include <string>

#include "foundation/CDoTrace.h"
#include "foundation/CFile.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/Utf8.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;

constexpr std::u32string_view kOriginalMark = U"org";
constexpr int kLastBackupNumber = 9;

}  // namespace

void CFile::FileBackupAutomatic(std::string_view psFileSpec) const {
    try {
        const std::string file = Slashed(psFileSpec);
        const std::string first = file + ".bak1";
        const std::string second = file + ".bak2";
        std::error_code ec;
        const auto check = [&ec] {
            if (!ec) return;
            const std::int32_t number = ErrorNumberOf(ec, errnum::kPathFileAccessError);
            // No source of its own: the chain names this member.
            throw VornError(number, "", VornError::RuntimeDescription(number));
        };
        if (fs::exists(first, ec)) {
            if (fs::exists(second, ec)) fs::remove(second, ec);
            check();
            fs::rename(first, second, ec);
            check();
        }
        fs::copy_file(file, first, fs::copy_options::overwrite_existing, ec);
        check();
    } catch (...) {
        RaiseThroughChain("CFile.FileBackup");
    }
}

bool CFile::FileBackupNumberedFailedFnB(std::string& psNameFull, bool& pbBackOrgExisted,
                                        std::string& psNameOnlyFinal) const {
    pbBackOrgExisted = false;
    std::u32string name = utf8::ToU32(psNameFull);
    // Overwritten in place: the name keeps its length, so a short extension
    // takes only the first letters of the mark. Without a "." the mark lands
    // on the name's first characters.
    const std::size_t dot = name.rfind(U'.');
    const std::size_t start = dot == std::u32string::npos ? 0 : dot + 1;
    for (std::size_t i = 0; i < kOriginalMark.size() && start + i < name.size(); ++i) {
        name[start + i] = kOriginalMark[i];
    }
    psNameFull = utf8::FromU32(name);

    for (int number = 1; ExistFnB(psNameFull); ++number) {
        pbBackOrgExisted = true;
        if (number > kLastBackupNumber) return true;
        name.back() = static_cast<char32_t>(U'0' + number);
        psNameFull = utf8::FromU32(name);
        psNameOnlyFinal = FileNameExtractFnS(psNameFull);
    }
    return false;
}

}  // namespace vorn
