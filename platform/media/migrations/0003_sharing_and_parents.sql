-- Collections that are shared by a link.
CREATE TABLE collections (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  sharing_id TEXT NOT NULL UNIQUE,
  owner INTEGER NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,
  title TEXT NOT NULL,
  made INTEGER NOT NULL,
  expires INTEGER,            -- none: never
  revoked INTEGER NOT NULL DEFAULT 0
);
CREATE INDEX collections_by_owner ON collections(owner);
CREATE TABLE collection_files (
  collection INTEGER NOT NULL REFERENCES collections(id) ON DELETE CASCADE,
  file INTEGER NOT NULL REFERENCES files(id) ON DELETE CASCADE,
  PRIMARY KEY (collection, file)
);
CREATE INDEX collection_files_by_file ON collection_files(file);
-- What an account may not watch without its PIN.
CREATE TABLE parental_pins (
  account INTEGER PRIMARY KEY REFERENCES accounts(id) ON DELETE CASCADE,
  pin TEXT NOT NULL           -- Argon2id
);
CREATE TABLE blocked_files (
  account INTEGER NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,
  file INTEGER NOT NULL REFERENCES files(id) ON DELETE CASCADE,
  PRIMARY KEY (account, file)
);
CREATE INDEX blocked_files_by_file ON blocked_files(file);
CREATE TABLE blocked_folders (
  account INTEGER NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,
  share INTEGER NOT NULL REFERENCES shares(id) ON DELETE CASCADE,
  folder TEXT NOT NULL,       -- relative to the share; empty: all of it
  PRIMARY KEY (account, share, folder)
);
