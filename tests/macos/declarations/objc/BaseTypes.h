#pragma once

// The language's own types, as its runtime gives them: truth values differ between the two architectures.

#if defined(__arm64__) || defined(__aarch64__)
typedef bool BOOL;
#else
typedef signed char BOOL;
#endif
typedef long NSInteger;
typedef unsigned long NSUInteger;

// A literal that is of type BOOL on either.
#define YES __objc_yes
#define NO __objc_no
#define nil __null
