#pragma once

// What is done once, before anything else: no thread runs yet.
namespace quillard::app {

// Keeps what is in memory, secrets among it, out of core dumps, whoever takes them. The process stays visible to others
// of its user all the same: a new agent finds the running one by its executable.
void forbidCoreDumps();

// Opens standard input, output and error on nothing where the process was started without them, lest a file of ours
// gets one of their numbers.
void ensureStandardStreams();

}  // namespace quillard::app
