#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "foundation/CAx0.h"
#include "foundation/CFile.h"
#include "foundation/CTextString.h"
#include "runtime/ErrorRecord.h"
#include "runtime/RecordingUserInterface.h"
#include "runtime/SessionSlot.h"
#include "runtime/Variant.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;
using testing::TempFolder;
using testing::WriteFile;

constexpr const char* kTexts =
    "3801\tSettings Folder\n"
    "4396\told file\n"
    "4512\tsetup file\n"
    "4803\tlibrary\n"
    "4804\tproject\n"
    "4805\tdatabase\n"
    "4806\tThe <<>> must be converted.\n"
    "5593\tCheck <<>>.\n"
    "7001\tDrawings\n"
    "' the last line is never read\n";

// Sets an environment variable (or removes it) for the life of the object.
class ScopedEnv {
public:
    ScopedEnv(const char* name, std::optional<std::string> value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        Apply(value);
    }
    ~ScopedEnv() { Apply(old_); }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    void Apply(const std::optional<std::string>& value) {
        if (value) {
            setenv(name_, value->c_str(), 1);
        } else {
            unsetenv(name_);
        }
    }

    const char* name_;
    std::optional<std::string> old_;
};

// A session with texts, the utility object and a recording interface; the
// user's folders point into a temporary home.
class CFileFoldersTest : public ::testing::Test {
protected:
    void SetUp() override {
        auto ui = std::make_unique<RecordingUserInterface>();
        ui_ = ui.get();
        oldUi_ = SetUi(std::move(ui));
        WriteFile(texts_ / std::string(CTextString::kBaseFileName), kTexts);
        SessionSlot<CTextString>::Make(std::make_unique<CTextString>(texts_.path().string()));
        SessionSlot<CAx0>::Make(std::make_unique<CAx0>());
    }
    void TearDown() override {
        SessionSlot<CAx0>::ResetForTests();
        SessionSlot<CTextString>::ResetForTests();
        SetUi(std::move(oldUi_));
    }

    std::string P(const std::string& name) const { return (temp_ / name).string(); }

    TempFolder temp_;
    TempFolder texts_;
    TempFolder home_;
    ScopedEnv homeEnv_{"HOME", home_.path().string()};
    ScopedEnv dataEnv_{"XDG_DATA_HOME", std::nullopt};
    ScopedEnv configEnv_{"XDG_CONFIG_HOME", std::nullopt};
    RecordingUserInterface* ui_ = nullptr;
    std::unique_ptr<UserInterface> oldUi_;
    CFile file_;
};

TEST_F(CFileFoldersTest, FilesInFolderListsMatchingFilesSorted) {
    WriteFile(temp_ / "b.vpj", "");
    WriteFile(temp_ / "A.VPJ", "");
    WriteFile(temp_ / "noext", "");
    WriteFile(temp_ / ".hidden.vpj", "");
    fs::create_directory(temp_ / "dir.vpj");
    VArray names;
    EXPECT_EQ(file_.FilesInFolderFnL(temp_.path().string(), names), 3);
    EXPECT_EQ(names, VArray::FromStrings({"A.VPJ", "b.vpj", "noext"}));
    EXPECT_EQ(file_.FilesInFolderFnL(temp_.path().string() + "/", names, "*.vpj"), 2);
    EXPECT_EQ(names, VArray::FromStrings({"A.VPJ", "b.vpj"}));
    EXPECT_EQ(file_.FilesInFolderFnL(P("missing"), names, "*.vpj"), 0);
    EXPECT_EQ(names.LBound(), 0);
    EXPECT_EQ(names.UBound(), -1);
}

TEST_F(CFileFoldersTest, FileListExpandsAPatternInPlaceAndSorts) {
    WriteFile(temp_ / "m2.vpj", "");
    WriteFile(temp_ / "M1.vpj", "");
    const std::string folder = temp_.path().string() + "/";
    VArray list = VArray::FromStrings({"z.vpj", folder + "*.vpj", "a.vpj"});
    std::int32_t index = 1;
    file_.FileListFromFolder(list, index);
    EXPECT_EQ(index, 2);
    EXPECT_EQ(list, VArray::FromStrings({folder + "M1.vpj", folder + "m2.vpj", "a.vpj", "z.vpj"}));

    // A plain name, a pattern without matches and a bad index change nothing.
    const VArray before = list;
    for (const std::int32_t at : {0, 7}) {
        index = at;
        file_.FileListFromFolder(list, index);
        EXPECT_EQ(list, before);
        EXPECT_EQ(index, at);
    }
    list = VArray::FromStrings({P("*.none")});
    index = 0;
    file_.FileListFromFolder(list, index);
    EXPECT_EQ(list, VArray::FromStrings({P("*.none")}));
    EXPECT_FALSE(Err().IsSet());
}

TEST_F(CFileFoldersTest, FilterCaptionsResolveTextIds) {
    EXPECT_EQ(file_.FileDialogFilterCaptionFnS("7001|*.dwg;*.dxf|@All files|*.*"),
              "Drawings (*.dwg;*.dxf)|*.dwg;*.dxf|All files (*.*)|*.*");
    EXPECT_EQ(file_.FileDialogFilterCaptionFnS("Projects|*.vpj|Loose"),
              "Projects (*.vpj)|*.vpj|Loose ()");
    EXPECT_EQ(file_.FileDialogFilterCaptionFnS(""), "");
}

TEST_F(CFileFoldersTest, SpecialFoldersFollowTheEnvironment) {
    const std::string home = home_.path().string();
    EXPECT_EQ(file_.GetSpecialFolderFnS(5), home);
    EXPECT_EQ(file_.GetSpecialFolderFnS(28), home + "/.local/share");
    EXPECT_EQ(file_.GetSpecialFolderFnS(26), home + "/.config");
    EXPECT_EQ(file_.GetSpecialFolderFnS(35), "");
    const ScopedEnv data("XDG_DATA_HOME", P("data/"));
    const ScopedEnv config("XDG_CONFIG_HOME", "relative/ignored");
    EXPECT_EQ(file_.GetSpecialFolderFnS(28), P("data"));
    EXPECT_EQ(file_.GetSpecialFolderFnS(26), home + "/.config");
}

TEST_F(CFileFoldersTest, UserSettingsFolderIsMadeWhenMissing) {
    const ScopedEnv data("XDG_DATA_HOME", P("data"));
    EXPECT_EQ(file_.UserSpecificSettingsFolderFnS(), P("data/Tessmar/vORN/"));
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
    EXPECT_EQ(ui_->Messages()[0].icon, MsgIcon::kInformation);
}

TEST_F(CFileFoldersTest, StorageLocationsComeFromTheFileBesideTheProgram) {
    file_.AppPath(temp_.path().string() + "/");
    file_.RootPath("/root-path/");
    EXPECT_EQ(file_.SysPropsGetUserFilesFolderFnS(), "/root-path/");
    WriteFile(temp_ / "pth.vsy", "/sys files/|/user files/\r\n");
    EXPECT_EQ(file_.SysPropsGetSystemFilesFolderFnS(), "/sys files/");
    EXPECT_EQ(file_.SysPropsGetUserFilesFolderFnS(), "/user files/");
    EXPECT_EQ(file_.FetchWritableStorageLocationFnS(5), "/root-path/");
}

class CFileDoubleByteTest : public CFileFoldersTest {
protected:
    // A database whose field has the given type, or is missing (nullopt).
    static DatabaseProbe Probe(std::string name, std::optional<std::int16_t> type,
                               std::string version = "4.0") {
        DatabaseProbe probe;
        probe.name = std::move(name);
        probe.version = [version] { return version; };
        probe.fieldType = [type](std::string_view table, std::string_view field) -> std::int16_t {
            if (!type || table != "POINT" || field != "PointID")
                throw VornError(3265, "DAO.Fields", "Item not found");
            return *type;
        };
        return probe;
    }

    // The description the check raised, or "" when it passed.
    std::string Refusal(const DatabaseProbe& probe,
                        std::optional<std::string> desc = std::nullopt) {
        try {
            file_.DoubleByteConversionCheck(probe, "POINT", "PointID", std::move(desc));
            return {};
        } catch (const VornError& error) {
            EXPECT_EQ(error.Number(), -2147221500);
            return error.Description();
        }
    }
};

TEST_F(CFileDoubleByteTest, NothingIsCheckedWithoutADoubleByteHost) {
    EXPECT_EQ(Refusal(Probe("/p/a.vpj", 10, "2.0")), "");
}

TEST_F(CFileDoubleByteTest, UnconvertedFieldsAreRefusedByKindOfFile) {
    Ax().DoubleByte(true);
    struct Row {
        const char* name;
        std::optional<std::string> desc;
        const char* kind;
    };
    const Row rows[] = {
        {"/p/a.VLB", std::nullopt, "library"},    {"/p/a.vpj", std::nullopt, "project"},
        {"/p/a.vdt", "given", "project"},         {"/p/setup.vsh", std::nullopt, "setup file"},
        {"/p/other.mdb", "own text", "own text"}, {"/p/other.mdb", std::nullopt, "database"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Refusal(Probe(row.name, 10), row.desc),
                  std::string("The ") + row.kind + " must be converted.\r\n\r\n")
            << row.name;
    }
}

TEST_F(CFileDoubleByteTest, ConvertedOrMissingFieldsPassOldFormatsNever) {
    Ax().DoubleByte(true);
    EXPECT_EQ(Refusal(Probe("/p/a.vpj", 11)), "");
    EXPECT_EQ(Refusal(Probe("/p/a.vpj", std::nullopt)), "");
    EXPECT_EQ(Refusal(Probe("/p/a.vpj", 11, "2.0")), "The old file must be converted.\r\n\r\n");

    DatabaseProbe broken = Probe("/p/a.vpj", 11);
    broken.fieldType = [](std::string_view, std::string_view) -> std::int16_t {
        throw VornError(3024, "DAO", "gone");
    };
    EXPECT_THROW(file_.DoubleByteConversionCheck(broken, "POINT", "PointID"), VornError);
}

TEST(CFileVersionTest, OnlyTheProgramHasAVersion) {
    const CFile file;
    std::int16_t major = -1, minor = -1, build = -1, priv = -1;
    file.FileVersion(fs::read_symlink("/proc/self/exe").string(), major, minor, build, priv);
    EXPECT_EQ((std::array<std::int16_t, 4>{major, minor, build, priv}),
              (std::array<std::int16_t, 4>{0, 1, 0, 0}));
    file.ProductVersion("/proc/version", major, minor, build, priv);
    EXPECT_EQ((std::array<std::int16_t, 4>{major, minor, build, priv}),
              (std::array<std::int16_t, 4>{0, 0, 0, 0}));
    file.FileVersion("/no/such/file", major, minor, build, priv);
    EXPECT_EQ(minor, 0);
}

}  // namespace
}  // namespace vorn
