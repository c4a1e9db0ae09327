#ifndef ARBOR_FOUNDATION_INTERNAL_THREAD_LOCAL_H
#define ARBOR_FOUNDATION_INTERNAL_THREAD_LOCAL_H

// Internal: the library's per-thread state sits in the static TLS block that the loader sets up
// for every library loaded with the program (or later, from its reserve), so reaching it is a
// register-relative load instead of a call into the loader on every node made or freed.
#define ARBOR_THREAD_LOCAL thread_local __attribute__((tls_model("initial-exec")))

#endif
