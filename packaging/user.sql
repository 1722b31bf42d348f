-- The database user of the hooks, ap_run, with the rights that they need and no others, but
-- for that of reading the connection log, which ap-show has. Run it as the server's administrator,
-- after the schema; it can be repeated.
--
-- A new user is locked until it has a password:
--
--     ALTER USER `ap_run`@`localhost` IDENTIFIED BY '...' ACCOUNT UNLOCK;
--
-- For hooks on another host, put its address in the place of localhost in the whole file.
--
-- In the database names of GRANT, "_" and "%" stand for any character and any text, so "_" has a
-- backslash in front; the "%" at the end is meant: there is a log database for each day.

CREATE USER IF NOT EXISTS `ap_run`@`localhost` ACCOUNT LOCK;

GRANT SELECT, INSERT, UPDATE ON `AP\_INFO`.* TO `ap_run`@`localhost`;
GRANT SELECT, INSERT, UPDATE, DELETE, CREATE, DROP ON `AP\_CLIENT`.* TO `ap_run`@`localhost`;
GRANT SELECT, INSERT, UPDATE, CREATE, DROP ON `AP\_POOR\_CLIENT`.* TO `ap_run`@`localhost`;
GRANT SELECT ON `AP\_USER`.* TO `ap_run`@`localhost`;
GRANT INSERT, SELECT ON `CONNTRACK\_LOG\_%`.* TO `ap_run`@`localhost`;
