// oneAtATime makes a benchmark time single operations: one iteration per
// repetition, many repetitions, and the p50 and p95 of them reported, since a
// latency target is about the typical and the slow call, not an average.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <vector>

namespace brindlemoor::bench {

inline double percentile(std::vector<double> values, double p) {
  std::sort(values.begin(), values.end());
  return values[static_cast<std::size_t>(p * static_cast<double>(values.size() - 1))];
}

inline void oneAtATime(benchmark::internal::Benchmark* b, int repetitions) {
  b->Iterations(1)
      ->Repetitions(repetitions)
      ->ReportAggregatesOnly(true)
      ->ComputeStatistics("p50", [](const std::vector<double>& v) { return percentile(v, 0.5); })
      ->ComputeStatistics("p95", [](const std::vector<double>& v) { return percentile(v, 0.95); })
      ->Unit(benchmark::kMillisecond);
}

inline void oneAtATime(benchmark::internal::Benchmark* b) {
  oneAtATime(b, 300);
}

}  // namespace brindlemoor::bench
