#ifndef ARBOR_TESTS_XML_LIVE_ALLOCATIONS_H
#define ARBOR_TESTS_XML_LIVE_ALLOCATIONS_H

// This test executable replaces the global operator new and delete to count the blocks they
// hold, so a test can show that a failed load gives back every node and string it made.

/// Number of blocks from the global operator new that are not deleted yet.
long liveAllocations();

#endif
