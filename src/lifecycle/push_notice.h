#pragma once

#include <string>

#include "db/connection.h"

// Push messages to the mobile users that are registered (app_login).

/// Asks who they are, for ap_push_notice.
[[nodiscard]] Question ap_push_recipients(Connection& db);

/// Starts the push program for each of them, in the background; traced under the key of `db`.
void ap_push_notice(const Connection& db, const Question& recipients, const std::string& message);
