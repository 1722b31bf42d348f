#pragma once

#include <string>

#include "db/ap.h"

/// Starts the push program, in the background, for each mobile user that is registered (app_login).
void ap_push_notice(Ap& ap, const std::string& message);

/// Its query, to be fetched ahead.
Query push_recipients_query();
