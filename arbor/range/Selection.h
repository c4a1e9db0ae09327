#ifndef ARBOR_RANGE_SELECTION_H
#define ARBOR_RANGE_SELECTION_H

#include "arbor/document/Document.h"

#include <cstddef>
#include <iterator>

namespace Arbor {

/// A forward iterator over the selected, attached ranges of a document, in the order of
/// `Document::firstSelectedRange` and `Document::nextSelectedRange`; the end iterator holds null.
class SelectedRangeIterator {
public:
    using iterator_category = std::forward_iterator_tag; ///< Walks forward only.
    using value_type = Range*; ///< The iterator yields range pointers.
    using difference_type = std::ptrdiff_t; ///< Distance between two iterators.
    using pointer = Range* const*; ///< Pointer to a yielded value.
    using reference = Range*; ///< Yielded by value.

    /// An iterator at `range` of `document` (null range: the end).
    SelectedRangeIterator(Document* document, Range* range)
        : document(document)
        , range(range)
    {
    }

    /// The current range.
    Range* operator*() const { return range; }
    /// Moves to the next selected range.
    SelectedRangeIterator& operator++()
    {
        range = document->nextSelectedRange(range);
        return *this;
    }
    /// Moves to the next selected range and returns the iterator as it was.
    SelectedRangeIterator operator++(int)
    {
        SelectedRangeIterator before = *this;
        ++*this;
        return before;
    }
    /// True when both stand at the same range.
    bool operator==(const SelectedRangeIterator& other) const { return range == other.range; }
    /// True when they stand at different ranges.
    bool operator!=(const SelectedRangeIterator& other) const { return range != other.range; }

private:
    Document* document;
    Range* range;
};

/// The selected ranges of a document, for a range-for loop:
/// `for (Arbor::Range* range : selectedRanges(document))`.
///
/// The loop asks for the next range after the body has run, so the body may change the ranges'
/// points but must not deselect, detach or release the current range (the selection may hold
/// its only reference). The loop takes no references.
class SelectedRanges {
public:
    /// The selected ranges of `document`.
    explicit SelectedRanges(Document* document)
        : document(document)
    {
    }
    /// An iterator at the first selected range.
    SelectedRangeIterator begin() const
    {
        return SelectedRangeIterator(document, document->firstSelectedRange());
    }
    /// The end iterator.
    SelectedRangeIterator end() const { return SelectedRangeIterator(document, nullptr); }

private:
    Document* document;
};

/// The function object behind `selectedRanges`.
struct SelectedRangesOf {
    /// The selected ranges of `document`.
    SelectedRanges operator()(Document* document) const { return SelectedRanges(document); }
};

/// The selected ranges of a document for a range-for loop (see `SelectedRanges`):
/// `selectedRanges(document)`. An object rather than a function, so argument-dependent lookup
/// never brings it into an unqualified call of a host's own `selectedRanges(document)`.
inline constexpr SelectedRangesOf selectedRanges {};

} // namespace Arbor

#endif
