#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "foundation/CFile.h"
#include "runtime/VornError.h"
#include "support/TestSupport.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;
using testing::TempFolder;
using testing::WriteFile;

// Makes the current folder another one for the life of the object.
class CurrentFolderScope {
public:
    explicit CurrentFolderScope(const fs::path& folder) : old_(fs::current_path()) {
        fs::current_path(folder);
    }
    ~CurrentFolderScope() { fs::current_path(old_); }
    CurrentFolderScope(const CurrentFolderScope&) = delete;
    CurrentFolderScope& operator=(const CurrentFolderScope&) = delete;

private:
    fs::path old_;
};

TEST(CFileKindsTest, KindsAreToldByTheNameIgnoringCase) {
    const CFile file;
    struct Row {
        const char* name;
        bool project, dataTemplate, library, setup, text;
    };
    const Row rows[] = {
        {"a.VPJ", true, false, false, false, false},
        {"/p/x.vdt", false, true, false, false, false},
        {"lib.Vlb", false, false, true, false, false},
        {"/p/SETUP.vsh", false, false, false, true, false},
        {"C:\\p\\setup.vsh", false, false, false, true, false},
        {"/p/mysetup.vsh", false, false, false, false, false},
        {"a.TXT", false, false, false, false, true},
        {"a.csv", false, false, false, false, true},
        {"a.ags", false, false, false, false, true},
        // Only the last three characters count, with or without a dot.
        {"reporttxt", false, false, false, false, true},
        {"a.text", false, false, false, false, false},
        {"a.vpj.bak", false, false, false, false, false},
        {"", false, false, false, false, false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(file.IsProjectFilenameFnB(row.name), row.project) << row.name;
        EXPECT_EQ(file.IsDataTemplateFnB(row.name), row.dataTemplate) << row.name;
        EXPECT_EQ(file.IsLibraryFilenameFnB(row.name), row.library) << row.name;
        EXPECT_EQ(file.IsSetupFileFnB(row.name), row.setup) << row.name;
        EXPECT_EQ(file.IsTextFileTypeFnB(row.name), row.text) << row.name;
    }
}

TEST(CFileKindsTest, XBaseConnectStrings) {
    const CFile file;
    EXPECT_TRUE(file.IsXBaseConnectFnB("DBase IV;/data/"));
    EXPECT_TRUE(file.IsXBaseConnectFnB("dbase iv;"));
    EXPECT_FALSE(file.IsXBaseConnectFnB("DBase III;/data/"));
    EXPECT_FALSE(file.IsXBaseConnectFnB(" DBase IV;/data/"));
}

TEST(CFileKindsTest, OnlyVersionsBetweenZeroAndThreeAreTheOldestFormat) {
    const CFile file;
    const std::pair<const char*, bool> rows[] = {{"1.1", true},  {"2.0", true},  {"2.99", true},
                                                 {"3.0", false}, {"4.0", false}, {"0", false},
                                                 {"abc", false}};
    for (const auto& [version, oldest] : rows) {
        DatabaseProbe probe;
        probe.version = [version = std::string(version)] { return version; };
        EXPECT_EQ(file.IsVersion4FileFnB(probe), oldest) << version;
    }
    DatabaseProbe failing;
    failing.version = []() -> std::string { throw VornError::InvalidArgument("x"); };
    EXPECT_FALSE(file.IsVersion4FileFnB(failing));
    EXPECT_FALSE(file.IsVersion4FileFnB(DatabaseProbe{}));
}

TEST(CFileNamesTest, ExtensionAndNameSplitAtTheLastDot) {
    const CFile file;
    struct Row {
        const char* input;
        const char* extension;
        const char* name;
    };
    const Row rows[] = {
        {"report.final.pdf", "pdf", "report.final"},
        {"noext", "", "noext"},
        {"trailing.", "", "trailing"},
        {".hidden", "hidden", ""},
        {"/dir.d/file", "d/file", "/dir"},
        {"Bohrprofil Ärger.Vpj", "Vpj", "Bohrprofil Ärger"},
    };
    for (const Row& row : rows) {
        std::string name = "untouched";
        EXPECT_EQ(file.FileExentionFnS(row.input, &name), row.extension) << row.input;
        EXPECT_EQ(name, row.name) << row.input;
        std::string extension;
        EXPECT_EQ(file.FileNameOnlyFnS(row.input, &extension), row.name) << row.input;
        EXPECT_EQ(extension, row.extension) << row.input;
    }
}

TEST(CFileNamesTest, ADotBeyondSixteenBitPositionsOverflows) {
    const CFile file;
    const std::string longName = std::string(40000, 'a') + ".txt";
    try {
        file.FileExentionFnS(longName);
        FAIL() << "no overflow";
    } catch (const VornError& error) {
        EXPECT_EQ(error.Number(), 6);
    }
}

TEST(CFileNamesTest, NameExtractSplitsAtTheLastSlash) {
    const CFile file;
    struct Row {
        const char* input;
        const char* name;
        const char* path;
    };
    const Row rows[] = {
        {"/p/sub/b.bmp", "b.bmp", "/p/sub/"},
        {"c:\\p\\a.vpj", "a.vpj", "c:/p/"},
        {"//p///x", "x", "/p/"},
        {"plain.txt", "plain.txt", ""},
        {"/p/folder/", "", "/p/folder/"},
        // A dBase folder is named like a file.
        {"DBase IV;/data/wells/", "wells", "DBase IV;/data/"},
        {"DBase IV;/data/wells", "wells", "DBase IV;/data/"},
    };
    for (const Row& row : rows) {
        std::string path = "untouched";
        EXPECT_EQ(file.FileNameExtractFnS(row.input, &path), row.name) << row.input;
        EXPECT_EQ(path, row.path) << row.input;
    }
}

TEST(CFileNamesTest, TrailingSlashRules) {
    const CFile file;
    struct Row {
        const char* input;
        bool remove;
        const char* expected;
    };
    const Row rows[] = {
        {"", false, ""},         {"", true, ""},         {"/", true, "/"},      {"/", false, "/"},
        {"/a/", true, "/a"},     {"/a", false, "/a/"},   {"/a/", false, "/a/"}, {"/a", true, "/a"},
        {"a\\b\\", true, "a/b"}, {"rel", false, "rel/"}, {"x/", true, "x"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(file.PathAppendBackslashFnS(row.input, row.remove), row.expected)
            << "[" << row.input << "] remove=" << row.remove;
    }
    EXPECT_EQ(file.DriveFromPathFnS("/data/a.vpj"), "");
}

TEST(CFileNamesTest, RelativePathsFromAndToFull) {
    const CFile file;
    struct Row {
        const char* reference;
        const char* source;
        const char* relative;
    };
    const Row from[] = {
        {"/p/a.vpj", "/p/sub/b.bmp", "./sub/b.bmp"},
        {"/p/a.vpj", "/p/b.bmp", "./b.bmp"},
        {"c:\\p\\a.vpj", "c:\\p\\sub\\b.bmp", "./sub/b.bmp"},
        // A folder whose name merely begins like the reference's is elsewhere.
        {"/p/a.vpj", "/pq/b.bmp", "/pq/b.bmp"},
        {"/p/a.vpj", "/other/b.bmp", "/other/b.bmp"},
        // Compared exactly.
        {"/P/a.vpj", "/p/sub/b.bmp", "/p/sub/b.bmp"},
        {"a.vpj", "/p/b.bmp", "/p/b.bmp"},
        {"/p/a.vpj", "b.bmp", "b.bmp"},
    };
    for (const Row& row : from) {
        EXPECT_EQ(file.RelativePathFromFullPathFnS(row.reference, row.source), row.relative)
            << row.source;
    }
    const Row to[] = {
        {"/p/a.vpj", "./sub/b.bmp", "/p/sub/b.bmp"},
        {"/p/a.vpj", ".\\b.bmp", "/p/b.bmp"},
        {"/p/a.vpj", "../b.bmp", "../b.bmp"},
        {"/p/a.vpj", "/q/b.bmp", "/q/b.bmp"},
    };
    for (const Row& row : to) {
        EXPECT_EQ(file.RelativePathToFullPathFnS(row.reference, row.source), row.relative)
            << row.source;
    }
}

TEST(CFileNamesTest, XBaseFileSpecGivesTheFolder) {
    const CFile file;
    EXPECT_EQ(file.XBaseFileSpecFnS("DBase IV;/data/wells;"), "/data/wells/");
    EXPECT_EQ(file.XBaseFileSpecFnS("DBase IV;/data/wells/", true), "/data/wells");
    EXPECT_EQ(file.XBaseFileSpecFnS("DBase IV;/;", true), "/");
    EXPECT_EQ(file.XBaseFileSpecFnS("/data/a.vpj"), "/data/a.vpj");
}

TEST(CFilePathValidTest, ExistingFoldersGetTheirSlash) {
    TempFolder temp;
    fs::create_directory(temp / "Grube Süd");
    WriteFile(temp / "f.txt", "x");
    const CFile file;
    const std::string folder = (temp / "Grube Süd").string();

    std::string path = folder;
    EXPECT_TRUE(file.PathValidFnB(path));
    EXPECT_EQ(path, folder + "/");
    path = folder + "//";
    EXPECT_TRUE(file.PathValidFnB(path));
    EXPECT_EQ(path, folder + "/");
    path = "/";
    EXPECT_TRUE(file.PathValidFnB(path));
    EXPECT_EQ(path, "/");

    path = (temp / "f.txt").string();
    EXPECT_FALSE(file.PathValidFnB(path));
    path = folder + "/missing/";
    EXPECT_FALSE(file.PathValidFnB(path));
    EXPECT_EQ(path, folder + "/missing");
    for (const std::string tail : {"/.", "/.."}) {
        path = folder + tail;
        EXPECT_FALSE(file.PathValidFnB(path)) << tail;
        EXPECT_EQ(path, folder + tail);
    }
    path.clear();
    EXPECT_FALSE(file.PathValidFnB(path));
}

TEST(CFilePathValidTest, FullBuildTakesRelativePathsFromTheCurrentFolder) {
    TempFolder temp;
    fs::create_directory(temp / "Sub");
    const CurrentFolderScope scope(temp.path());
    const CFile file;
    const std::string current = fs::current_path().string();

    std::string path = "  Sub ";
    EXPECT_TRUE(file.PathFullBuildFnB(path));
    EXPECT_EQ(path, current + "/Sub/");  // case kept
    path = "";
    EXPECT_TRUE(file.PathFullBuildFnB(path));
    EXPECT_EQ(path, current + "/");
    path = "nothing";
    EXPECT_FALSE(file.PathFullBuildFnB(path));
    EXPECT_EQ(path, current + "/nothing");
    path = current + "/Sub";
    EXPECT_TRUE(file.PathFullBuildFnB(path));
    EXPECT_EQ(path, current + "/Sub/");
}

TEST(CFilePathValidTest, LongFormOfExistingPathsOnly) {
    TempFolder temp;
    fs::create_directory(temp / "a");
    const CFile file;
    const std::string base = temp.path().string();
    EXPECT_EQ(file.ConvertShortPathNameFnS(base + "/a/./../a/"), base + "/a/");
    EXPECT_EQ(file.ConvertShortPathNameFnS(base + "//a"), base + "/a");
    EXPECT_EQ(file.ConvertShortPathNameFnS(base + "/missing/./x"), base + "/missing/./x");
}

class CFileUniqueTest : public ::testing::Test {
protected:
    void SetUp() override {
        file_.ExtensionPrefix("v");
        file_.ExtensionTemporary("tm");
        // 12:34:56.78 gives the counter 4529678.
        file_.SecondsSinceMidnightSource([] { return 45296.78; });
    }

    std::string Folder() const { return temp_.path().string() + "/"; }

    TempFolder temp_;
    CFile file_;
};

TEST_F(CFileUniqueTest, NameIsPrefixAndCounterTailInEightCharacters) {
    struct Row {
        const char* prefix;
        const char* extension;
        const char* name;
    };
    const Row rows[] = {
        {"abcdef", "dat", "abc29678.dat"},  // prefix cut to 3
        {"PWF", "", "PWF29678.vtm"},        // temporary extension
        {"x", "tm", "x4529678.vtm"},        // short extension gets the prefix
        {"", ".TMP", "4529678.TMP"},       {"seq", "a", "seq29678.va"},
        {"ab", "t.x", "ab529678t.x"},  // a dot already there: none added
    };
    for (const Row& row : rows) {
        EXPECT_EQ(file_.UniqueFnS(temp_.path().string(), row.prefix, row.extension),
                  Folder() + row.name)
            << row.prefix << " " << row.extension;
    }
}

TEST_F(CFileUniqueTest, TakenNamesAreSkipped) {
    WriteFile(temp_ / "abc29678.dat", "");
    WriteFile(temp_ / "abc29679.dat", "");
    EXPECT_EQ(file_.UniqueFnS(Folder(), "abc", "dat"), Folder() + "abc29680.dat");
}

TEST_F(CFileUniqueTest, EarlyCounterGivesAShorterName) {
    file_.SecondsSinceMidnightSource([] { return 1.5; });
    EXPECT_EQ(file_.UniqueFnS(Folder(), "abc", "dat"), Folder() + "abc150.dat");
}

TEST_F(CFileUniqueTest, UniqueFolderHasSixDigits) {
    fs::create_directory(temp_ / "run529678");
    EXPECT_EQ(file_.UniquePathFnS(temp_.path().string(), "run"), Folder() + "run529679/");
    file_.SecondsSinceMidnightSource([] { return 0.07; });
    EXPECT_EQ(file_.UniquePathFnS(temp_.path().string(), "run"), Folder() + "run000007/");
    EXPECT_EQ(file_.UniquePathFnS("", "run"), "run000007/");
}

TEST(CFileSerialTest, DigitsKeepWhatEarlierPagesWrote) {
    CFile file;
    file.SerialFilenamesPrep("/out/Plot.page.pdf", 120);
    EXPECT_EQ(file.SerialFilenameGetFnS(7), "/out/Plot007.pdf");
    EXPECT_EQ(file.SerialFilenameGetFnS(12), "/out/Plot012.pdf");
    EXPECT_EQ(file.SerialFilenameGetFnS(120), "/out/Plot120.pdf");
    // The buffer is not cleared: pages must rise.
    EXPECT_EQ(file.SerialFilenameGetFnS(7), "/out/Plot127.pdf");
    EXPECT_THROW(file.SerialFilenameGetFnS(1000), VornError);
}

TEST(CFileSerialTest, NamesWithoutExtensionAndLongNames) {
    CFile file;
    file.SerialFilenamesPrep("C:\\out\\sheet", 9);
    EXPECT_EQ(file.SerialFilenameGetFnS(3), "C:/out/sheet3");
    const std::string longName(300, 'n');
    file.SerialFilenamesPrep("/o/" + longName + ".tif", 10);
    EXPECT_EQ(file.SerialFilenameGetFnS(5), "/o/" + std::string(254, 'n') + "05.tif");
}

}  // namespace
}  // namespace vorn
