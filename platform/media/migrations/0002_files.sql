-- The folders that are served and what the scans found in them. Paths are bytes, whatever their encoding.
CREATE TABLE shares (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  name TEXT NOT NULL UNIQUE,
  path TEXT NOT NULL UNIQUE,
  mounted INTEGER NOT NULL DEFAULT 0 -- whether a file system of its own was mounted there at the last scan
);
CREATE TABLE share_privileges (
  share INTEGER NOT NULL REFERENCES shares(id) ON DELETE CASCADE,
  account INTEGER NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,
  may_read INTEGER NOT NULL,
  PRIMARY KEY (share, account)
);
CREATE TABLE files (
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  share INTEGER NOT NULL REFERENCES shares(id) ON DELETE CASCADE,
  path TEXT NOT NULL UNIQUE,
  folder TEXT NOT NULL,       -- relative to the share
  size INTEGER NOT NULL,
  modified_ns INTEGER NOT NULL,
  inode INTEGER NOT NULL,
  marks TEXT NOT NULL,        -- a digest of the file's beginning and end, by which it is known after a move
  added INTEGER NOT NULL,
  title TEXT NOT NULL,
  sort_key TEXT NOT NULL,     -- the title shown, without regard to case
  search_text TEXT NOT NULL,  -- title and path below the share, without regard to case
  container TEXT NOT NULL,
  video_codec TEXT NOT NULL,
  audio_codec TEXT NOT NULL,
  duration_ms INTEGER NOT NULL,
  width INTEGER NOT NULL,
  height INTEGER NOT NULL,
  bitrate INTEGER NOT NULL
);
CREATE INDEX files_by_share ON files(share);
CREATE INDEX files_by_title ON files(sort_key, id);
CREATE INDEX files_by_age ON files(added, id);
CREATE INDEX files_by_duration ON files(duration_ms, id);
CREATE INDEX files_by_size ON files(size, id);
-- Files with a video's name that are none: not looked at again until they change.
CREATE TABLE refused_files (
  path TEXT PRIMARY KEY,
  share INTEGER NOT NULL REFERENCES shares(id) ON DELETE CASCADE,
  size INTEGER NOT NULL,
  modified_ns INTEGER NOT NULL,
  inode INTEGER NOT NULL,
  reason TEXT NOT NULL
);
CREATE INDEX refused_files_by_share ON refused_files(share);
