#include "exported/names.h"

extern "C" {
const char* const AP_INFO_TABLE[9] = {"ap_list",     "mac_list", "history",
                                      "mac_lookup",  "ap_group", "ap_profile",
                                      "client_name", "ap_wired", "app_login"};

const char* const CONNTRACK_LOG_TABLE[12] = {
    "pppoe",        "pptp_server",       "pptp_client",      "dhcp_client",
    "dhcp",         "ipsec_vpn",         "web_vpn",          "sent_mail_out",
    "sent_mail_in", "received_mail_out", "received_mail_in", "ap_controller"};

char entry_num[2000];
char icons_path[128];
char html_fmt[6000];
}
