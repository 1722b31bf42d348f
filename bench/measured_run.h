#pragma once

#include <string>
#include <vector>

#include "kit/child.h"

/// Runs the program words[0] from a small process. Throws std::runtime_error when it does not end
/// with status 0.
kit::Usage measured_run(const kit::Words& words);

/// Has a small process run the program words[0] once its standard input `gate` ends (-1: at once),
/// and write to `said` what that took.
kit::Child start_measured(const kit::Words& words, int gate, const kit::Pipe& said);

/// What a line of bench-starter says; the status is as wait reports it. Throws for another text.
kit::Usage usage_of(const std::string& line);
