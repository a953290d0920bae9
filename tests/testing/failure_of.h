// failureOf runs an action that a test expects to fail and gives the failure,
// so that the test can look at its words; it is shared by every test that
// checks what a failure says.
#pragma once

#include <stdexcept>

namespace brindlemoor::testing {

// The exception of type F that `action` throws. When it throws none, the
// test fails with a std::logic_error of its own.
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
