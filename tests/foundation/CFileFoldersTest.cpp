#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "FoundationTestHelpers.h"
#include "foundation/CAx0.h"
#include "foundation/CFile.h"
#include "runtime/ErrorRecord.h"
#include "runtime/SessionSlot.h"
#include "runtime/Variant.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;
using testing::ScopedEnv;
using testing::TempFolder;
using testing::WriteFile;

// A session with texts, the utility object and a recording interface; the
// user's folders point into a temporary home.
class CFileFoldersTest : public ::testing::Test {
protected:
    void SetUp() override { SessionSlot<CAx0>::Make(std::make_unique<CAx0>()); }
    void TearDown() override { SessionSlot<CAx0>::ResetForTests(); }

    std::string P(const std::string& name) const { return (temp_ / name).string(); }

    TempFolder temp_;
    TempFolder home_;
    ScopedEnv homeEnv_{"HOME", home_.path().string()};
    ScopedEnv dataEnv_{"XDG_DATA_HOME", std::nullopt};
    ScopedEnv configEnv_{"XDG_CONFIG_HOME", std::nullopt};
    testing::RecordedUi ui_;
    testing::SessionTexts texts_{
        "3801\tSettings Folder\n4396\told file\n4512\tsetup file\n4803\tlibrary\n4804\tproject\n"
        "4805\tdatabase\n4806\tThe <<>> must be converted.\n5593\tCheck <<>>.\n7001\tDrawings\n"};
    CFile file_;
};

TEST_F(CFileFoldersTest, FilesInFolderListsMatchingFilesSorted) {
    WriteFile(temp_ / "b.vpj", "");
    WriteFile(temp_ / "A.VPJ", "");
    WriteFile(temp_ / "noext", "");
    WriteFile(temp_ / ".hidden.vpj", "");
    fs::create_directory(temp_ / "dir.vpj");
    VArray names;
    EXPECT_EQ(file_.FilesInFolderFnL(temp_.path().string() + "/", names, "*.vpj"), 2);
    EXPECT_EQ(names, VArray::FromStrings({"A.VPJ", "b.vpj"}));
    EXPECT_EQ(file_.FilesInFolderFnL(P("missing"), names, "*.vpj"), 0);
    EXPECT_EQ(names.UBound(), -1);

    // A pattern in a list is expanded in place, sorted, the rest of the list sorted behind it;
    // a pattern without matches stays and raises nothing.
    Err().Clear();
    const std::string folder = temp_.path().string() + "/";
    VArray list = VArray::FromStrings({"z.vpj", folder + "*.vpj", "a.vpj"});
    std::int32_t index = 1;
    file_.FileListFromFolder(list, index);
    EXPECT_EQ(index, 2);
    EXPECT_EQ(list, VArray::FromStrings({folder + "A.VPJ", folder + "b.vpj", "a.vpj", "z.vpj"}));
    list = VArray::FromStrings({P("*.none")});
    index = 0;
    file_.FileListFromFolder(list, index);
    EXPECT_EQ(list, VArray::FromStrings({P("*.none")}));
    EXPECT_FALSE(Err().IsSet());
}

TEST_F(CFileFoldersTest, FilterCaptionsResolveTextIds) {
    EXPECT_EQ(file_.FileDialogFilterCaptionFnS("7001|*.dwg;*.dxf|@All files|*.*"),
              "Drawings (*.dwg;*.dxf)|*.dwg;*.dxf|All files (*.*)|*.*");
    EXPECT_EQ(file_.FileDialogFilterCaptionFnS("Projects|*.vpj|Loose"), "Projects (*.vpj)|*.vpj|Loose ()");
}

TEST_F(CFileFoldersTest, SpecialFoldersFollowTheEnvironment) {
    const std::string home = home_.path().string();
    EXPECT_EQ(file_.GetSpecialFolderFnS(5), home);
    EXPECT_EQ(file_.GetSpecialFolderFnS(28), home + "/.local/share");
    EXPECT_EQ(file_.GetSpecialFolderFnS(35), "");
    const ScopedEnv data("XDG_DATA_HOME", P("data/"));
    const ScopedEnv config("XDG_CONFIG_HOME", "relative/ignored");
    EXPECT_EQ(file_.GetSpecialFolderFnS(28), P("data"));
    EXPECT_EQ(file_.GetSpecialFolderFnS(26), home + "/.config");

    EXPECT_EQ(file_.UserSpecificSettingsFolderFnS(), P("data/Tessmar/vORN/"));  // made when missing
    EXPECT_TRUE(fs::is_directory(temp_ / "data" / "Tessmar" / "vORN"));
    EXPECT_TRUE(ui_->Messages().empty());
}

TEST_F(CFileFoldersTest, UserSettingsFolderThatCannotBeMadeIsReported) {
    WriteFile(temp_ / "blocker", "");
    const ScopedEnv data("XDG_DATA_HOME", P("blocker"));
    file_.SetupPath("/opt/setup/");
    EXPECT_EQ(file_.UserSpecificSettingsFolderFnS(), "");
    ASSERT_EQ(ui_->Messages().size(), 1u);
    EXPECT_EQ(ui_->Messages()[0].text, "Check /opt/setup/.");
    EXPECT_EQ(ui_->Messages()[0].title, "Settings Folder");
}

// A database whose field has the given type, or is missing (nullopt).
DatabaseProbe Probe(std::string name, std::optional<std::int16_t> type, std::string version = "4.0") {
    DatabaseProbe probe;
    probe.name = std::move(name);
    probe.version = [version] { return version; };
    probe.fieldType = [type](std::string_view table, std::string_view field) -> std::int16_t {
        if (!type || table != "POINT" || field != "PointID") throw VornError(3265, "DAO.Fields", "Item not found");
        return *type;
    };
    return probe;
}

TEST_F(CFileFoldersTest, DoubleByteCheckRefusesUnconvertedFieldsByKindOfFile) {
    // The description the check raised, or "" when it passed.
    const auto refusal = [&](const DatabaseProbe& probe, std::optional<std::string> desc = std::nullopt) {
        try {
            file_.DoubleByteConversionCheck(probe, "POINT", "PointID", std::move(desc));
            return std::string();
        } catch (const VornError& error) {
            EXPECT_EQ(error.Number(), -2147221500);
            return error.Description();
        }
    };
    EXPECT_EQ(refusal(Probe("/p/a.vpj", 10, "2.0")), "");  // no double-byte host: nothing checked
    Ax().DoubleByte(true);
    const std::tuple<const char*, std::optional<std::string>, const char*> rows[] = {
        {"/p/a.VLB", std::nullopt, "library"},      {"/p/a.vdt", "given", "project"},
        {"/p/setup.vsh", std::nullopt, "setup file"}, {"/p/other.mdb", "own text", "own text"},
        {"/p/other.mdb", std::nullopt, "database"},
    };
    for (const auto& [name, desc, kind] : rows) {
        EXPECT_EQ(refusal(Probe(name, 10), desc), std::string("The ") + kind + " must be converted.\r\n\r\n") << name;
    }
    EXPECT_EQ(refusal(Probe("/p/a.vpj", 11)), "");
    EXPECT_EQ(refusal(Probe("/p/a.vpj", std::nullopt)), "");
    EXPECT_EQ(refusal(Probe("/p/a.vpj", 11, "2.0")), "The old file must be converted.\r\n\r\n");
    DatabaseProbe broken = Probe("/p/a.vpj", 11);
    broken.fieldType = [](std::string_view, std::string_view) -> std::int16_t { throw VornError(3024, "DAO", "gone"); };
    EXPECT_THROW(file_.DoubleByteConversionCheck(broken, "POINT", "PointID"), VornError);
}

TEST(CFileVersionTest, OnlyTheProgramHasAVersion) {
    const CFile file;
    std::int16_t major = -1, minor = -1, build = -1, priv = -1;
    file.FileVersion(fs::read_symlink("/proc/self/exe").string(), major, minor, build, priv);
    EXPECT_EQ((std::array<std::int16_t, 4>{major, minor, build, priv}), (std::array<std::int16_t, 4>{0, 1, 0, 0}));
    file.ProductVersion("/proc/version", major, minor, build, priv);
    EXPECT_EQ((std::array<std::int16_t, 4>{major, minor, build, priv}), (std::array<std::int16_t, 4>{0, 0, 0, 0}));
}

}  // namespace
}  // namespace vorn
