// What the tests put around the library: a utility library in the stand-in's place that keeps the log lines, and calls
// of the system library that fail on request (interposed.cpp). Lines and requests belong to the thread.
#pragma once

#include "vemora_utils.h"

#include <functional>
#include <string>
#include <vector>

namespace recording {

using Lines = std::vector<std::string>;
Lines takeWhole(); // the lines since the last take, each as TAG/LEVEL LINE
// The same as LEVEL TEXT, without time stamp and place; whole still when raised in another file.
Lines takeLines(const std::string &file = "");

inline std::string trace(const std::string &text) { return "6 " + text; }
inline std::string error(const std::string &text) { return "2 " + text; }
inline std::string failure(const std::string &text) { return "2 " + text + ", ret 0xffffffff \n"; }

void keepLines(bool kept); // or drop them, from now on
// Runs the action inside the next call that logs this text.
void onLine(const std::string &text, std::function<void()> action);
void failCopies(uint32_t calls);  // bit 0: the next memcpy_s fails, bit 1: the one after it, and so on
void failMalloc(int n);           // the n-th malloc of the library fails; 1 is the next
void spareBlocks(size_t size);    // of this size one is kept for the next malloc, in programs of one thread
size_t sizeOf(const void *block); // that the library has allocated
int liveBlocks();                 // blocks that the library has allocated and nobody has freed
int unwipedBlocks();              // freed ones that were not all zero
int flushes();                    // of standard output
void setLocalTime(bool known);    // 03:04:05.007, or unavailable

} // namespace recording
