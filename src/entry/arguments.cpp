#include "entry/arguments.h"

#include "trace/trace_log.h"
#include "values/visible_text.h"

const char* argument(int count, char** args, int index) {
  return index < count ? args[index] : nullptr;
}

void trace_arguments(const char* personality, const char* key, int count, char** args) {
  for (int i = 0; i < count; ++i) {
    ap_debug_log({personality, key}, "@@ %s => [%02d]:%s", personality, i,
                 visible_text(args[i]).c_str());
  }
}
