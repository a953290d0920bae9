// The OpenMP limit under which text recognition runs fast.
//
// Tesseract parallelises its inner loops with OpenMP. On a desktop's few
// cores, shared with everything else, that makes recognition several times
// slower (a full-screen picture: 11 to 17 s instead of about 2 s on two
// cores). The OpenMP runtime reads OMP_THREAD_LIMIT once, when it is loaded,
// so setting the variable inside the running program is too late: it has to
// be in the environment when the process starts.
#pragma once

namespace brindlemoor {

// Call first thing in main(), with main's argv, in every program that
// recognises text. If OMP_THREAD_LIMIT is unset, sets it to 1 and starts this
// executable afresh in place of the current process, with the same arguments;
// the new process finds the variable set and goes on. A value the user set is
// kept. Returns only when the limit is in force, or when the restart failed,
// in which case the program goes on, correct but slower.
void requireOcrThreadLimit(char* argv[]);

}  // namespace brindlemoor
