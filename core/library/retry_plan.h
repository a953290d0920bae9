// RetryPlan is what the pipeline records when a step fails: the words stored
// on the capture and how long it waits before it is tried again. Only the
// kind of error and its words count; there is no back-off and no last try, so
// a capture is retried for ever, on the same schedule each time.
#pragma once

#include <exception>
#include <string>

namespace brindlemoor {

struct RetryPlan {
  std::string message;
  double delay = 0;  // seconds

  bool operator==(const RetryPlan&) const = default;

  // Ollama unreachable: "Ollama is not running", 60 s. A missing model (a 404,
  // or a server message holding "not found"): "A model is missing: " and the
  // daemon's words, 300 s. Anything else: the error's own words, 600 s.
  static RetryPlan forFailure(const std::exception& error);
  // A failure that isn't even a std::exception: its own kind of words, 600 s.
  static RetryPlan forUnknownFailure();
};

}  // namespace brindlemoor
