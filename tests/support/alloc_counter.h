// Counts the allocations of the whole program, so that tests and benchmarks can show that a path makes none.
#pragma once

/// How many times operator new has run in this program so far.
long AllocationCount();

/// How many times operator new has run on the calling thread. Libraries start threads of their own (a picture
/// loader's pool wakes up after the load), so a single-threaded path is measured with this one.
long ThreadAllocationCount();
