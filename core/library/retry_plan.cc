#include "core/library/retry_plan.h"

#include "core/understanding/ollama_client.h"

namespace brindlemoor {
namespace {

constexpr double kUnreachableDelay = 60;
constexpr double kMissingModelDelay = 300;
constexpr double kOtherDelay = 600;

}  // namespace

RetryPlan RetryPlan::forFailure(const std::exception& error) {
  if (const auto* ollama = dynamic_cast<const OllamaClient::Failure*>(&error)) {
    using Kind = OllamaClient::Failure::Kind;
    if (ollama->kind() == Kind::unreachable) return {"Ollama is not running", kUnreachableDelay};
    if (ollama->kind() == Kind::server &&
        (ollama->status() == 404 || ollama->message().find("not found") != std::string::npos)) {
      return {"A model is missing: " + ollama->message(), kMissingModelDelay};
    }
  }
  return {error.what(), kOtherDelay};
}

RetryPlan RetryPlan::forUnknownFailure() {
  return {"An unknown failure", kOtherDelay};
}

}  // namespace brindlemoor
