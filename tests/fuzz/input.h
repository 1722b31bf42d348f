#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "db/statement.h"
#include "reports/report.h"

// What the fuzz targets share. A claim that does not hold aborts, which the fuzzer reports with the
// input.

/// Aborts unless `claim` holds.
void must(bool claim);

/// Aborts unless the statement may be sent, and nothing but names, numbers and closed texts is in it.
void must_be_closed(const Statement& statement);

/// The bytes that a text column of `schema` holds; the table's name without its database.
std::size_t width_of(const std::string& table, const std::string& column);

/// The report that is made of the input, after a check that another way of cutting its text into
/// pieces gives the same.
std::optional<Report> report_of(const std::uint8_t* data, std::size_t size);
