#pragma once

#include <stdexcept>

namespace brindlemoor::testing {

// The exception of type F that `action` throws, for a test to read its words;
// a std::logic_error when it throws none.
template <class F, class Action>
F failureOf(Action action) {
  try {
    action();
  } catch (const F& failure) {
    return failure;
  }
  throw std::logic_error("the action did not fail");
}

}  // namespace brindlemoor::testing
