// The hot paths of understanding: the dot product that search runs over
// every stored vector, and the reading of a vision model's reply.
#include <benchmark/benchmark.h>

#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "core/understanding/describer.h"
#include "core/model/vector_math.h"

namespace brindlemoor {
namespace {

std::vector<float> randomVector(std::size_t length, unsigned seed) {
  std::mt19937 generator(seed);
  std::uniform_real_distribution<float> value(-1.0f, 1.0f);
  std::vector<float> v(length);
  for (float& x : v) x = value(generator);
  return VectorMath::unit(v);
}

// One score of a 768-dimensional embedding, the size the embedding model
// gives. Reported as floating-point operations per second (a multiply and an
// add per element).
void BM_Dot768(benchmark::State& state) {
  const auto a = randomVector(768, 1);
  const auto b = randomVector(768, 2);
  for (auto _ : state) {
    benchmark::DoNotOptimize(a.data());
    benchmark::DoNotOptimize(b.data());
    benchmark::DoNotOptimize(VectorMath::dot(a, b));
  }
  state.counters["FLOP/s"] = benchmark::Counter(2.0 * 768 * static_cast<double>(state.iterations()),
                                                benchmark::Counter::kIsRate);
}
BENCHMARK(BM_Dot768);

// A reply of about 10 KB such as a chatty model gives: a full title and
// summary, more tags than are kept, highlights and links of which some are
// on the screen and some invented, all inside a code fence.
std::string tenKilobyteReply(const std::string& screen) {
  nlohmann::json reply = {
      {"title", "Refunding card payments through the dashboard - Larkspur"},
      {"summary", "A screenshot of the " + std::string(420, 's')},
      {"kind", "Article"},
      {"tags", {"#Payments", "refunds", "Refunds", "dashboard", "finance", "support", "cards"}},
  };
  for (int i = 0; reply.dump().size() < 9700; ++i) {
    const std::size_t at = static_cast<std::size_t>(i) * 97 % (screen.size() - 280);
    reply["highlights"].push_back(i % 2 == 0 ? screen.substr(at, 250)
                                             : "An invented passage number " + std::to_string(i));
    reply["links"].push_back(i % 3 == 0 ? "larkspur.org/docs/page" + std::to_string(i % 10)
                                        : "https://invented.example/" + std::to_string(i));
  }
  return "Here is the JSON:\n```json\n" + reply.dump(1) + "\n```";
}

void BM_ParseReply10KB(benchmark::State& state) {
  std::string screen;
  for (int i = 0; screen.size() < 3000; ++i) {
    screen += "Refunds take 5 to 10 days. See larkspur.org/docs/page" + std::to_string(i % 10) +
              " for card payments, disputes and partial refunds.\n";
  }
  const std::string raw = tenKilobyteReply(screen);
  const std::optional<std::string> url = "https://docs.larkspur.org/refunds";
  for (auto _ : state) {
    benchmark::DoNotOptimize(Describer::parse(raw, screen, url, "Refunds"));
  }
  state.SetBytesProcessed(static_cast<int64_t>(raw.size()) * state.iterations());
  state.counters["reply bytes"] = static_cast<double>(raw.size());
}
BENCHMARK(BM_ParseReply10KB)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace brindlemoor

BENCHMARK_MAIN();
