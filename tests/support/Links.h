#ifndef ARBOR_TESTS_SUPPORT_LINKS_H
#define ARBOR_TESTS_SUPPORT_LINKS_H

// The one link-and-count checker of the suites: every node reachable from some starting nodes
// (through parents, siblings, children, range points, a document's range list and undo records)
// must agree with its neighbours, and, when the caller says which references it holds, every
// count must equal the links, records, range points and selection that hold the node plus those.

#include "arbor/arbor.h"

#include <map>
#include <string>
#include <vector>

/// References the caller holds, by node.
using Held = std::map<Arbor::Node*, unsigned long>;

/// The problems found, empty when everything holds. The walk starts at `from` and at the keys of
/// `held`; counts are checked only with `held`. `reached`, when given, receives every node met.
std::string linkProblems(const std::vector<Arbor::Node*>& from, const Held* held = nullptr,
    std::vector<Arbor::Node*>* reached = nullptr);

#define EXPECT_LINKS_SOUND(...) EXPECT_EQ(linkProblems(__VA_ARGS__), "")

#endif
