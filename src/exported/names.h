#pragma once

// Data objects that the platform's libraries look up in the running program by name; each is listed
// in exported.list, too. The three buffers are zero-filled and not used here.
extern "C" {
extern const char* const AP_INFO_TABLE[9];
extern const char* const CONNTRACK_LOG_TABLE[12];
extern char entry_num[2000];
extern char icons_path[128];
extern char html_fmt[6000];
}
