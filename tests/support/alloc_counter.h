// Counts the allocations of the whole program, so that tests and benchmarks can show that a path makes none.
#pragma once

/// How many times operator new has run in this program so far.
long AllocationCount();
