#pragma once

/// 1 where a sanitizer's own memory stands beside the program's, so that figures of memory mean nothing.
#if defined __SANITIZE_ADDRESS__ || defined __SANITIZE_THREAD__
#define OSTREL_SANITIZED 1
#elif defined __has_feature
#define OSTREL_SANITIZED (__has_feature(address_sanitizer) || __has_feature(thread_sanitizer))
#else
#define OSTREL_SANITIZED 0
#endif
