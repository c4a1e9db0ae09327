#ifndef ARBOR_FOUNDATION_EXPORT_H
#define ARBOR_FOUNDATION_EXPORT_H

/// Marks a class, function or object as part of the library's exported interface. Everything
/// else is hidden (the library is built with hidden visibility by default).
#define ARBOR_API __attribute__((visibility("default")))

/// Marks a class that stays internal even when it is named in an exported header.
#define ARBOR_INTERNAL __attribute__((visibility("hidden")))

#endif
