// The allocator settings under which pictures are made at a steady speed.
//
// libvips allocates the buffers of every picture afresh and frees them when
// the picture is done. glibc's malloc hands the freed top of a heap back to
// the kernel past a threshold that it moves as it goes, and the memory one
// 12-megapixel photo passes through lies about at that threshold: depending
// on what the process did before, each photo faults the same memory in again
// page by page, some 7,000 faults a photo, which on a virtual machine doubled
// the cost of importing it. Fixed thresholds keep that memory for the next
// picture.
//
// Thread rules: call before any other thread starts.
#pragma once

namespace brindlemoor {

// Call first thing in main() in every program that makes pictures in bulk,
// importing photos above all. Fixes glibc's mmap threshold at 32 MiB (what
// is larger is mapped and unmapped on its own) and its trim threshold at
// 64 MiB, so up to that much freed at the top of a heap stays in the
// process. Does nothing with another C library.
void keepPictureMemory();

}  // namespace brindlemoor
