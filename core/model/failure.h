// Failure is the base of every typed error Brindlemoor throws. Each layer
// derives its own (Database::Failure, OllamaClient::Failure, ...) so that a
// caller can catch exactly the failures it is meant to end, and what() always
// holds the words a user or a log may be shown.
#pragma once

#include <stdexcept>
#include <string>

namespace brindlemoor {

class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& description) : std::runtime_error(description) {}
};

}  // namespace brindlemoor
