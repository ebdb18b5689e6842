#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include <benchmark/benchmark.h>

#include "SyncLibrary/BXSyncInspectFile.h"
#include "davclient/ASXMLDomParser.h"
#include "platform/FileSystem.h"
#include "platform/KeyedArchive.h"

using namespace tidemark;

namespace {

constexpr std::size_t recordCount = 1'000'000;

std::string archivePath()
{
    return "/tmp/tidemark-bench-" + std::to_string(getpid()) + ".psi";
}

std::string recordName(std::size_t index)
{
    char name[64];
    std::snprintf(name, sizeof name, "/folder %04zu/some file name %07zu.txt", index / 1000, index);
    return name;
}

Status writeRecords(const std::string& path)
{
    std::size_t next = 0;
    std::string name;
    return KeyedArchive::write(path, "BXSyncFileData", recordCount, [&](KeyedArchive::Record& record) {
        if (next == recordCount) return false;
        name = recordName(next++);
        record = {name, 1'790'000'000.0 + static_cast<double>(next)};
        return true;
    });
}

void writeSyncInfo(benchmark::State& state)
{
    for (auto _ : state) {
        if (!writeRecords(archivePath())) state.SkipWithError("not written");
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(recordCount) * state.iterations());
}

void readSyncInfo(benchmark::State& state)
{
    if (!writeRecords(archivePath())) state.SkipWithError("not written");
    for (auto _ : state) {
        BXSyncInspectFile inspector;
        if (!inspector.readSyncInfo(archivePath())) state.SkipWithError("not read");
        benchmark::DoNotOptimize(inspector);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(recordCount) * state.iterations());
    (void)fs::removeFile(archivePath());
}

/// Heap that the entry list with its index holds per record.
void entryListMemory(benchmark::State& state)
{
    if (!writeRecords(archivePath())) state.SkipWithError("not written");
    double bytes = 0;
    for (auto _ : state) {
        malloc_trim(0);
        const auto before = mallinfo2();
        BXSyncInspectFile inspector;
        if (!inspector.readSyncInfo(archivePath())) state.SkipWithError("not read");
        const auto after = mallinfo2();
        bytes = static_cast<double>(after.uordblks + after.hblkhd - before.uordblks - before.hblkhd);
    }
    state.counters["bytes/record (goal 300)"] = bytes / recordCount;
    (void)fs::removeFile(archivePath());
}

std::string multistatus(int entries)
{
    std::string xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                      "<D:multistatus xmlns:D=\"DAV:\" xmlns:E=\"http://www.marlock.example/ns/webdav\">\n";
    for (int i = 0; i < entries; ++i) {
        char entry[1024];
        std::snprintf(entry, sizeof entry,
                      "<D:response>\n<D:href>/files/folder%%20name/some%%20file%%20%04d.txt</D:href>\n<D:propstat>\n"
                      "<D:prop>\n<D:getlastmodified>Sun, 15 Nov 2026 10:%02d:%02d GMT</D:getlastmodified>\n"
                      "<E:SyncDate>Sun, 15 Nov 2026 10:00:00 +0000</E:SyncDate>\n<D:resourcetype/>\n"
                      "<D:getcontentlength>%d</D:getcontentlength>\n</D:prop>\n"
                      "<D:status>HTTP/1.1 200 OK</D:status>\n</D:propstat>\n</D:response>\n",
                      i, i / 60 % 60, i % 60, i * 17);
        xml += entry;
    }
    return xml + "</D:multistatus>\n";
}

void parseListing(benchmark::State& state)
{
    const std::string xml = multistatus(1000);
    for (auto _ : state) {
        ASXMLDomParser parser;
        parser.parse(xml);
        benchmark::DoNotOptimize(parser.rootElement());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(xml.size()) * state.iterations());
}

BENCHMARK(writeSyncInfo)->Unit(benchmark::kMillisecond)->Name("sync-info, 1,000,000 records written (goal 1500 ms)");
BENCHMARK(readSyncInfo)->Unit(benchmark::kMillisecond)->Name("sync-info, 1,000,000 records read (goal 1500 ms)");
BENCHMARK(entryListMemory)->Iterations(1)->Unit(benchmark::kMillisecond)->Name("entry list, memory");
BENCHMARK(parseListing)
    ->Iterations(1000)
    ->Unit(benchmark::kMillisecond)
    ->Name("1,000 listings of 1,000 entries parsed (goal 50 MB/s)");

} // namespace

BENCHMARK_MAIN();
