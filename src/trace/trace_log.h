#pragma once

#include <string>

#include "platform/system_log.h"
#include "platform/text.h"

// The trace log: what an administrator reads to see what was decided for an AP, and why.
//
// A line goes to the system log (priority debug) while the directory /database/ap/debug exists, and
// to the file /database/ap/debug/<key>, too, while that exists. The program makes and removes neither.
// Without the directory a call formats nothing.

/// The origin of a trace line: the operation's name, the key (nearly always the AP's MAC as the
/// controller passed it; null for none) and the source line.
struct TraceSite {
  const char* operation;
  const char* key;
  int line;

  TraceSite(const char* operation_name, const char* trace_key, int source_line = __builtin_LINE())
      : operation(operation_name), key(trace_key), line(source_line) {}

  /// `trace_key` must outlive the object.
  TraceSite(const char* operation_name, const std::string& trace_key,
            int source_line = __builtin_LINE())
      : TraceSite(operation_name, trace_key.c_str(), source_line) {}
};

/// Keeps the trace off, whatever the switches say. For a program that only looks.
void keep_trace_off();

/// Whether trace lines are written at all. For what is done for the trace alone.
bool is_tracing();

/// Writes one trace line, formatted as printf does. Control bytes are shown as "\x1B", except line
/// feeds: pass a value that may hold one through visible_text. A key with a slash names no file. What
/// cannot be written is dropped.
void ap_debug_log(const TraceSite& site, const char* format, ...) AP_PRINTF(2, 3);

/// Traces what an event has lost, and why, and reports it as a loss of the AP that is the site's key.
void report_loss(const TraceSite& site, Loss loss, Remedy remedy, const std::string& what);
