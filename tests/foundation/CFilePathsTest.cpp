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
        {"/p/mysetup.vsh", false, false, false, false, false},
        {"a.TXT", false, false, false, false, true},
        // Only the last three characters count, with or without a dot.
        {"reporttxt", false, false, false, false, true},
        {"a.text", false, false, false, false, false},
        {"a.vpj.bak", false, false, false, false, false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(file.IsProjectFilenameFnB(row.name), row.project) << row.name;
        EXPECT_EQ(file.IsDataTemplateFnB(row.name), row.dataTemplate) << row.name;
        EXPECT_EQ(file.IsLibraryFilenameFnB(row.name), row.library) << row.name;
        EXPECT_EQ(file.IsSetupFileFnB(row.name), row.setup) << row.name;
        EXPECT_EQ(file.IsTextFileTypeFnB(row.name), row.text) << row.name;
    }
}

TEST(CFileKindsTest, XBaseConnectStringsAndOldestFormatVersions) {
    const CFile file;
    EXPECT_TRUE(file.IsXBaseConnectFnB("dbase iv;"));
    EXPECT_FALSE(file.IsXBaseConnectFnB("DBase III;/data/"));
    EXPECT_FALSE(file.IsXBaseConnectFnB(" DBase IV;/data/"));

    const std::pair<const char*, bool> rows[] = {{"1.1", true}, {"2.99", true}, {"3.0", false}, {"0", false},
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
    // (input, extension, name)
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"report.final.pdf", "pdf", "report.final"},
        {".hidden", "hidden", ""},
        {"/dir.d/file", "d/file", "/dir"},
        {"Bohrprofil Ärger.Vpj", "Vpj", "Bohrprofil Ärger"},
    };
    for (const auto& [input, extensionOut, nameOut] : rows) {
        std::string name = "untouched";
        EXPECT_EQ(file.FileExentionFnS(input, &name), extensionOut) << input;
        EXPECT_EQ(name, nameOut) << input;
        std::string extension;
        EXPECT_EQ(file.FileNameOnlyFnS(input, &extension), nameOut) << input;
        EXPECT_EQ(extension, extensionOut) << input;
    }
    // A dot beyond 16-bit positions overflows.
    EXPECT_EQ(testing::FailureNumber([&] { file.FileExentionFnS(std::string(40000, 'a') + ".txt"); }), 6);
}

TEST(CFileNamesTest, NameExtractSplitsAtTheLastSlashAndDBaseFoldersAreNamedLikeFiles) {
    const CFile file;
    // (input, name, path)
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"/p/sub/b.bmp", "b.bmp", "/p/sub/"},
        {"c:\\p\\a.vpj", "a.vpj", "c:/p/"},
        {"//p///x", "x", "/p/"},
        {"/p/folder/", "", "/p/folder/"},
        // A dBase folder is named like a file.
        {"DBase IV;/data/wells", "wells", "DBase IV;/data/"},
    };
    for (const auto& [input, name, pathOut] : rows) {
        std::string path = "untouched";
        EXPECT_EQ(file.FileNameExtractFnS(input, &path), name) << input;
        EXPECT_EQ(path, pathOut) << input;
    }
    EXPECT_EQ(file.XBaseFileSpecFnS("DBase IV;/data/wells;"), "/data/wells/");
    EXPECT_EQ(file.XBaseFileSpecFnS("DBase IV;/data/wells/", true), "/data/wells");
    EXPECT_EQ(file.XBaseFileSpecFnS("/data/a.vpj"), "/data/a.vpj");
}

TEST(CFileNamesTest, TrailingSlashRules) {
    const CFile file;
    const std::tuple<const char*, bool, const char*> rows[] = {
        {"", false, ""},     {"/", true, "/"},   {"/a/", true, "/a"},     {"/a", false, "/a/"},
        {"/a/", false, "/a/"}, {"/a", true, "/a"}, {"a\\b\\", true, "a/b"},
    };
    for (const auto& [input, remove, expected] : rows) {
        EXPECT_EQ(file.PathAppendBackslashFnS(input, remove), expected) << "[" << input << "] remove=" << remove;
    }
    EXPECT_EQ(file.DriveFromPathFnS("/data/a.vpj"), "");
}

TEST(CFileNamesTest, RelativePathsFromAndToFull) {
    const CFile file;
    // (reference, source, result)
    using Row = std::tuple<const char*, const char*, const char*>;
    const Row from[] = {
        {"/p/a.vpj", "/p/sub/b.bmp", "./sub/b.bmp"},
        {"c:\\p\\a.vpj", "c:\\p\\sub\\b.bmp", "./sub/b.bmp"},
        // A folder whose name merely begins like the reference's is elsewhere.
        {"/p/a.vpj", "/pq/b.bmp", "/pq/b.bmp"},
        // Compared exactly.
        {"/P/a.vpj", "/p/sub/b.bmp", "/p/sub/b.bmp"},
        {"/p/a.vpj", "b.bmp", "b.bmp"},
    };
    for (const auto& [reference, source, relative] : from) {
        EXPECT_EQ(file.RelativePathFromFullPathFnS(reference, source), relative) << source;
    }
    const Row to[] = {
        {"/p/a.vpj", "./sub/b.bmp", "/p/sub/b.bmp"},
        {"/p/a.vpj", ".\\b.bmp", "/p/b.bmp"},
        {"/p/a.vpj", "../b.bmp", "../b.bmp"},
    };
    for (const auto& [reference, source, full] : to) {
        EXPECT_EQ(file.RelativePathToFullPathFnS(reference, source), full) << source;
    }
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

    // The long form is given for existing paths only.
    EXPECT_EQ(file.ConvertShortPathNameFnS(current + "/Sub/./../Sub/"), current + "/Sub/");
    EXPECT_EQ(file.ConvertShortPathNameFnS(current + "/missing/./x"), current + "/missing/./x");
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
    // (prefix, extension, name)
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"abcdef", "dat", "abc29678.dat"},  // prefix cut to 3
        {"PWF", "", "PWF29678.vtm"},        // temporary extension
        {"x", "tm", "x4529678.vtm"},        // short extension gets the prefix
        {"ab", "t.x", "ab529678t.x"},  // a dot already there: none added
    };
    for (const auto& [prefix, extension, name] : rows) {
        EXPECT_EQ(file_.UniqueFnS(temp_.path().string(), prefix, extension), Folder() + name) << prefix;
    }
}

TEST_F(CFileUniqueTest, TakenNamesAreSkippedAndFoldersHaveSixDigits) {
    WriteFile(temp_ / "abc29678.dat", "");
    WriteFile(temp_ / "abc29679.dat", "");
    EXPECT_EQ(file_.UniqueFnS(Folder(), "abc", "dat"), Folder() + "abc29680.dat");
    fs::create_directory(temp_ / "run529678");
    EXPECT_EQ(file_.UniquePathFnS(temp_.path().string(), "run"), Folder() + "run529679/");
    file_.SecondsSinceMidnightSource([] { return 0.07; });
    EXPECT_EQ(file_.UniquePathFnS(temp_.path().string(), "run"), Folder() + "run000007/");
    EXPECT_EQ(file_.UniquePathFnS("", "run"), "run000007/");
    EXPECT_EQ(file_.UniqueFnS(Folder(), "abc", "dat"), Folder() + "abc7.dat");  // an early counter is shorter
}

TEST(CFileSerialTest, DigitsKeepWhatEarlierPagesWroteAndLongNamesAreCut) {
    CFile file;
    file.SerialFilenamesPrep("/out/Plot.page.pdf", 120);
    EXPECT_EQ(file.SerialFilenameGetFnS(7), "/out/Plot007.pdf");
    EXPECT_EQ(file.SerialFilenameGetFnS(120), "/out/Plot120.pdf");
    // The buffer is not cleared: pages must rise.
    EXPECT_EQ(file.SerialFilenameGetFnS(7), "/out/Plot127.pdf");
    EXPECT_THROW(file.SerialFilenameGetFnS(1000), VornError);

    file.SerialFilenamesPrep("C:\\out\\sheet", 9);
    EXPECT_EQ(file.SerialFilenameGetFnS(3), "C:/out/sheet3");
    const std::string longName(300, 'n');
    file.SerialFilenamesPrep("/o/" + longName + ".tif", 10);
    EXPECT_EQ(file.SerialFilenameGetFnS(5), "/o/" + std::string(254, 'n') + "05.tif");
}

}  // namespace
}  // namespace vorn
