// SPDX-License-Identifier: Apache-2.0

#pragma once

/// Clang's thread safety attributes. A declaration says which lock it needs and clang
/// checks every caller (-Wthread-safety); other compilers see nothing.
#if defined(__clang__)
#define OSTREL_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define OSTREL_THREAD_ATTRIBUTE(x)
#endif

#define OSTREL_CAPABILITY(name) OSTREL_THREAD_ATTRIBUTE(capability(name))
#define OSTREL_SCOPED_CAPABILITY OSTREL_THREAD_ATTRIBUTE(scoped_lockable)
#define OSTREL_GUARDED_BY(lock) OSTREL_THREAD_ATTRIBUTE(guarded_by(lock))
#define OSTREL_REQUIRES(...) OSTREL_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define OSTREL_EXCLUDES(...) OSTREL_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define OSTREL_ACQUIRE(...) OSTREL_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define OSTREL_RELEASE(...) OSTREL_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define OSTREL_NO_THREAD_SAFETY_ANALYSIS OSTREL_THREAD_ATTRIBUTE(no_thread_safety_analysis)
