#pragma once

/// Argument `index` of `count` arguments; null when there are fewer.
const char* argument(int count, char** args, int index);

/// Writes a trace line for each of the `count` arguments, numbered from 0, in the name and under
/// the key (null for none) given.
void trace_arguments(const char* personality, const char* key, int count, char** args);
