// Speed of search on generated libraries of 10,000 and 100,000 captures,
// each with a few words of text and 768-float vectors in both spaces, a
// fifth of them in collections of 20, against the imitation daemon (its
// embedding of the query costs well under a millisecond on loopback).
// Read the p50 and p95 rows.
#include <benchmark/benchmark.h>

#include <cmath>
#include <fstream>
#include <random>
#include <thread>

#include "bench/one_at_a_time.h"
#include "core/library/library.h"
#include "core/model/vector_math.h"
#include "core/understanding/models.h"
#include "tests/testing/child_process.h"
#include "tests/testing/imitation_ollama.h"
#include "tests/testing/sample_captures.h"
#include "tests/testing/temp_dir.h"

namespace brindlemoor {
namespace {

constexpr int kDimension = 768;
// The model brindlemoor-mcp asks for, so that it finds these vectors.
const std::string kModel(Models::embedding);
const char* const kWords[] = {"lemon",  "tart",   "invoice", "tram",   "lisbon", "kettle",
                              "report", "garden", "recipe",  "budget", "quince", "harbour"};

// This process's resident memory now, in megabytes: its own ("RssAnon:"),
// or the pages of files it has mapped ("RssFile:"), which the system takes
// back when memory is short.
double residentMB(const std::string& field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(field)) return std::stod(line.substr(field.size())) / 1024;
  }
  return 0;
}

struct Generated {
  testing::TempDir dir;
  testing::ImitationOllama daemon;
  std::unique_ptr<Library> library;
  // What the library holds once it has searched.
  double indexMB = 0;
  double indexFileMB = 0;

  // Where brindlemoor-mcp finds it with XDG_DATA_HOME set to dir.
  std::filesystem::path root() const { return dir.path() / "Brindlemoor"; }

  explicit Generated(int captures) {
    daemon.setModels({kModel});
    std::mt19937 random(5);
    std::normal_distribution<float> normal;
    {
      LibraryStore store(root());
      for (int c = 0; c < captures / 100; ++c) {
        store.insertCollection({"c" + std::to_string(c), "Group", "📁", now(), now(), 0, 0, false});
      }
      for (int n = 0; n < captures; ++n) {
        const std::string id = testing::sampleID(n);
        store.insert(testing::sampleCapture(n, n));
        store.setRead(
            id, std::string(kWords[n % 12]) + " " + kWords[(n / 12) % 12] + " " + std::to_string(n),
            std::nullopt);
        std::vector<float> look(kDimension), meaning(kDimension);
        for (float& x : look) x = normal(random);
        for (float& x : meaning) x = normal(random);
        store.setEmbedding(id, kModel,
                           {{VectorSpace::look, VectorMath::unit(look)},
                            {VectorSpace::meaning, VectorMath::unit(meaning)}});
        const bool filed = n % 5 == 0;
        store.setCollection(id, filed
                                    ? std::optional("c" + std::to_string(n / 5 % (captures / 100)))
                                    : std::nullopt);
      }
    }
    const double before = residentMB("RssAnon:");
    const double fileBefore = residentMB("RssFile:");
    library =
        std::make_unique<Library>(std::make_unique<LibraryStore>(root()),
                                  OllamaClient(daemon.host()), "v", kModel, Organizer(), nullptr);
    library->findings("warm");  // the first search reads the vectors in
    indexMB = residentMB("RssAnon:") - before;
    indexFileMB = residentMB("RssFile:") - fileBefore;
  }
};

Generated& library(int captures) {
  static Generated small(10'000);
  if (captures == 10'000) return small;
  static Generated large(100'000);
  return large;
}

void BM_Findings(benchmark::State& state) {
  Generated& generated = library(static_cast<int>(state.range(0)));
  std::size_t hits = 0;
  for (auto _ : state) hits = generated.library->findings("lemon tart").hits.size();
  state.counters["hits"] = static_cast<double>(hits);
  state.counters["index_rss_MB"] = generated.indexMB;
  state.counters["index_file_MB"] = generated.indexFileMB;
}
BENCHMARK(BM_Findings)->Arg(10'000)->Arg(100'000)->Apply([](benchmark::internal::Benchmark* b) {
  bench::oneAtATime(b, 50);
});

void BM_Related(benchmark::State& state) {
  Generated& generated = library(static_cast<int>(state.range(0)));
  for (auto _ : state)
    benchmark::DoNotOptimize(generated.library->related(testing::sampleID(7), 10));
}
BENCHMARK(BM_Related)->Arg(10'000)->Arg(100'000)->Apply([](benchmark::internal::Benchmark* b) {
  bench::oneAtATime(b, 50);
});

// The query's embedding alone, as findings asks the imitation daemon for it:
// subtract it from BM_Findings for the cost of search itself.
void BM_QueryEmbedding(benchmark::State& state) {
  Generated& generated = library(10'000);
  const OllamaClient client(generated.daemon.host());
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        client.embed(kModel, {{"task: search result | query: lemon tart", {}}}, 60));
  }
}
BENCHMARK(BM_QueryEmbedding)->Apply([](benchmark::internal::Benchmark* b) {
  bench::oneAtATime(b, 50);
});

// The peak resident memory of brindlemoor-mcp once it has answered a search
// on the library of 10,000 captures, beside the size of the vectors it holds:
// the floats of both spaces and their 16-bit codes.
// The server is kept waiting on its input while its peak is read.
void BM_McpMemory(benchmark::State& state) {
  Generated& generated = library(10'000);
  const auto requests = generated.dir.path() / "requests.jsonl";
  std::ofstream(requests)
      << R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18"}})"
      << "\n"
      << R"({"jsonrpc":"2.0","id":2,"method":"tools/call","params":{"name":"search_brindlemoor","arguments":{"query":"lemon tart"}}})"
      << "\n";
  double peakMB = 0;
  for (auto _ : state) {
    testing::ChildProcess server(
        "/bin/bash",
        {"-c", "exec \"$0\" < <(cat \"$1\"; sleep 3)", BRINDLEMOOR_MCP, requests.string()},
        {{"XDG_DATA_HOME", generated.dir.path().string()},
         {"OLLAMA_HOST", generated.daemon.host()}});
    std::this_thread::sleep_for(std::chrono::seconds(2));
    std::ifstream status("/proc/" + std::to_string(server.pid()) + "/status");
    for (std::string line; std::getline(status, line);) {
      if (line.starts_with("VmHWM:")) peakMB = std::stod(line.substr(6)) / 1024;
    }
    server.wait();
  }
  state.counters["peak_rss_MB"] = peakMB;
  state.counters["vectors_MB"] =
      10'000.0 * 2 * kDimension * (sizeof(float) + sizeof(std::int16_t)) / (1 << 20);
}
BENCHMARK(BM_McpMemory)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace brindlemoor

BENCHMARK_MAIN();
