-- The people who may sign in, and who is signed in. Secrets are kept as digests only.
CREATE TABLE accounts (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  name TEXT NOT NULL,
  name_key TEXT NOT NULL UNIQUE, -- the name without regard to case
  password TEXT NOT NULL,        -- Argon2id
  administrator INTEGER NOT NULL,
  created INTEGER NOT NULL       -- seconds since the epoch, as all times here but the file's own
);
CREATE TABLE sessions (
  digest TEXT PRIMARY KEY,
  account INTEGER NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,
  last_used INTEGER NOT NULL
);
CREATE INDEX sessions_by_account ON sessions(account);
CREATE TABLE welcomes (
  digest TEXT PRIMARY KEY,
  account INTEGER NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,
  made INTEGER NOT NULL
);
CREATE TABLE personal_settings (
  account INTEGER NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,
  name TEXT NOT NULL,
  value TEXT NOT NULL,
  PRIMARY KEY (account, name)
);
