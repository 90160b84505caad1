// Converting the largest Jet fixtures to project files of our format: rows
// per second, and how the time divides between reading the file (libmdb in
// the child process, decoding, the pipe) and writing the copy (our engine).
//
//   VORN_SOURCE_DIR=<source tree> build/bench/jet_convert_bench
//
// The reading is timed alone, with the records dropped; the writing is
// timed alone too, by handing records read before (and kept in memory) to
// the writer of the copy, and divided by what is written (w_<part>_ms). In
// a conversion the two overlap: the child reads while the parent writes.

#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <unistd.h>

#include "dbcontract/jet/JetCopyWriter.h"
#include "dbcontract/jet/JetProjectFile.h"
#include "dbcontract/sqlite/SqliteProjectFile.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

fs::path Fixture(const std::string& name) {
    const char* root = std::getenv("VORN_SOURCE_DIR");
    return fs::path(root != nullptr ? root : ".") / "tests/data/jet" / name;
}

// Counts what a reading delivers and keeps nothing.
class CountingSink : public vorn::JetRecordSink {
public:
    void Table(const vorn::TableInfo&, std::int64_t) override {}
    void Property(const vorn::PropertyOwnerKey&, const vorn::PropertyInfo&) override {}
    void BeginRows(const std::string&) override {}
    void Row(const std::vector<vorn::Variant>& values) override {
        ++rows;
        benchmark::DoNotOptimize(values.data());
    }
    void EndRows() override {}
    void Relation(const vorn::RelationInfo&) override {}
    void Query(const vorn::QueryInfo&) override {}
    void Warning(const std::string&) override {}
    void Failure(std::int32_t, const std::string&) override {}
    void End() override {}

    std::int64_t rows = 0;
};

// What a kept record writes, for the division of the writing time.
enum Part { kCreate, kTables, kProperties, kRows, kRelations, kQueries, kSync, kParts };
constexpr const char* kPartNames[kParts] = {"create", "tables", "properties", "rows", "relations", "queries", "sync"};
using PartSeconds = std::array<double, kParts>;

// Keeps every record, to hand them to another sink later.
class KeepingSink : public vorn::JetRecordSink {
public:
    void Table(const vorn::TableInfo& table, std::int64_t rows) override {
        steps_.push_back({kTables, [=](JetRecordSink& to) { to.Table(table, rows); }});
    }
    void Property(const vorn::PropertyOwnerKey& owner, const vorn::PropertyInfo& property) override {
        steps_.push_back({kProperties, [=](JetRecordSink& to) { to.Property(owner, property); }});
    }
    void BeginRows(const std::string& table) override {
        steps_.push_back({kRows, [=](JetRecordSink& to) { to.BeginRows(table); }});
    }
    void Row(const std::vector<vorn::Variant>& values) override {
        steps_.push_back({kRows, [=](JetRecordSink& to) { to.Row(values); }});
    }
    void EndRows() override {
        steps_.push_back({kRows, [](JetRecordSink& to) { to.EndRows(); }});
    }
    void Relation(const vorn::RelationInfo& relation) override {
        steps_.push_back({kRelations, [=](JetRecordSink& to) { to.Relation(relation); }});
    }
    void Query(const vorn::QueryInfo& query) override {
        steps_.push_back({kQueries, [=](JetRecordSink& to) { to.Query(query); }});
    }
    void Warning(const std::string&) override {}
    void Failure(std::int32_t, const std::string&) override {}
    void End() override {
        steps_.push_back({kProperties, [](JetRecordSink& to) { to.End(); }});
    }

    // Hands every record to `to`, adding the time each takes to its part.
    void Replay(JetRecordSink& to, PartSeconds& parts) const;

private:
    std::vector<std::pair<Part, std::function<void(JetRecordSink&)>>> steps_;
};

double Seconds(Clock::time_point since) { return std::chrono::duration<double>(Clock::now() - since).count(); }

// Timed by runs of records of one part, so that the clock is not read per row.
void KeepingSink::Replay(JetRecordSink& to, PartSeconds& parts) const {
    auto start = Clock::now();
    for (std::size_t i = 0; i < steps_.size(); ++i) {
        steps_[i].second(to);
        if (i + 1 == steps_.size() || steps_[i + 1].first != steps_[i].first) {
            parts[steps_[i].first] += Seconds(start);
            start = Clock::now();
        }
    }
}

// Writes kept records into a new project file, as a conversion does.
void Write(const KeepingSink& records, const fs::path& target, PartSeconds& parts) {
    fs::remove(target);
    auto start = Clock::now();
    auto copy = vorn::SqliteProjectFile::CreateScratch(target.string(), ";LANGID=0x0409;CP=1252;COUNTRY=0");
    vorn::JetCopyWriter writer(target.string(), *copy, vorn::JetCopyWriter::Mode::kConvert);
    copy->BeginTrans();
    parts[kCreate] += Seconds(start);
    records.Replay(writer, parts);
    start = Clock::now();
    copy->CommitTrans();
    copy->Close();
    vorn::SqliteProjectFile::SyncToDisk(target.string());
    parts[kSync] += Seconds(start);
}

void ConvertFixture(benchmark::State& state, const char* name) {
    const std::string source = Fixture(name).string();
    const fs::path target = fs::temp_directory_path() / ("jet-bench-" + std::to_string(getpid()) + ".vpj");
    KeepingSink records;
    vorn::JetProjectFile::Read(source, records);
    double reading = 0;
    PartSeconds parts{};
    double whole = 0;
    std::int64_t rows = 0;
    for (auto _ : state) {
        CountingSink sink;
        const auto readStart = Clock::now();
        vorn::JetProjectFile::Read(source, sink);
        reading += Seconds(readStart);
        rows += sink.rows;
        Write(records, target, parts);
        const auto convertStart = Clock::now();
        vorn::JetProjectFile::Convert(source, target.string(), true);
        const double seconds = Seconds(convertStart);
        whole += seconds;
        state.SetIterationTime(seconds);
    }
    fs::remove(target);
    double writing = 0;
    for (const double seconds : parts) writing += seconds;
    const double iterations = static_cast<double>(state.iterations());
    state.counters["rows"] = benchmark::Counter(static_cast<double>(rows) / iterations);
    state.counters["rows_per_s"] = benchmark::Counter(static_cast<double>(rows) / whole);
    state.counters["read_ms"] = benchmark::Counter(1000 * reading / iterations);
    state.counters["write_ms"] = benchmark::Counter(1000 * writing / iterations);
    state.counters["read_share"] = benchmark::Counter(reading / (reading + writing));
    state.counters["write_share"] = benchmark::Counter(writing / (reading + writing));
    for (int part = 0; part < kParts; ++part) {
        state.counters[std::string("w_") + kPartNames[part] + "_ms"] = benchmark::Counter(1000 * parts[part] / iterations);
    }
}

BENCHMARK_CAPTURE(ConvertFixture, nwind, "nwind.mdb")->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ConvertFixture, jet4_test, "jet4-test.mdb")->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ConvertFixture, ace12_test, "ace12-test.accdb")->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
