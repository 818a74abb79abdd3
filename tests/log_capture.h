// What the engine says: its log lines and its standard output.
#ifndef LOG_CAPTURE_H
#define LOG_CAPTURE_H

#include <functional>
#include <string>
#include <vector>

using strings = std::vector<std::string>;

// Every log line since the last clear(), whole: "I/text\n" for information, "E/text\n" for errors.
extern strings log_lines;

// Whether lines are kept: not where memory is short, or where two threads log.
extern bool log_kept;

// Whether calls of the engine are counted and may fail (fault_test); off within the capture.
extern bool faults_armed;

// The log lines that contain `part`, one behind the other.
std::string log_with(const std::string &part);

// The log from the first line that contains `part` on.
strings log_from(const std::string &part);

// Information lines as written in a test: each without its "I/", with "|" for its line feed and
// with ">" for the function's name in the line before.
strings logged(const std::string &lines);

// The words of a text.
strings words_of(const std::string &text);

// Runs `call` and returns what it printed to standard output. Exceptions pass through.
std::string printed(const std::function<void()> &call);

#endif
