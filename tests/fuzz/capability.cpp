// Fuzz target: a capability file, and the assignments that are made from it.

#include "lifecycle/capability.h"

#include "fuzz/input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (const std::optional<Report> report = report_of(data, size)) {
    const Capability capability = ap_capability_parse(*report);
    must_be_closed(capability.refresh);
    must_be_closed(capability.initial);
  }
  return 0;
}
