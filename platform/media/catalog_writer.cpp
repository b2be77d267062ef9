#include "platform/media/catalog_writer.h"

#include "platform/base/text.h"
#include "platform/media/case_folding.h"
#include "platform/media/catalog.h"

namespace kinora::media {
namespace {

// The columns of a file that follow from its name and its title.
struct NameColumns {
  NameColumns(const ScanTask& task, const std::string& title) {
    Video video;
    video.path = task.path;
    video.facts.title = title;
    const size_t slash = task.name.rfind('/');
    folder = slash == std::string::npos ? "" : task.name.substr(0, slash);
    sort_key = FoldCase(ShownTitle(video));
    search_text = FoldCase(title + "\n" + task.name);
  }
  std::string folder;
  std::string sort_key;
  std::string search_text;
};

void ReadInto(soci::session& sql, const char* query, KnownFiles& files) {
  std::string path;
  KnownFile file;
  soci::statement rows =
      (sql.prepare << query, soci::into(file.id), soci::into(file.share), soci::into(path),
       soci::into(file.size), soci::into(file.modified_ns), soci::into(file.inode), soci::into(file.marks));
  for (bool more = rows.execute(true); more; more = rows.fetch()) files.emplace(path, file);
}

void DropRefused(soci::session& sql, const std::string& path) {
  sql << "DELETE FROM refused_files WHERE path = :path", soci::use(path);
}

}  // namespace

KnownFiles ReadKnownFiles(soci::session& sql) {
  KnownFiles files;
  ReadInto(sql, "SELECT id, share, path, size, modified_ns, inode, marks FROM files", files);
  ReadInto(sql, "SELECT 0, share, path, size, modified_ns, inode, '' FROM refused_files", files);
  return files;
}

std::vector<WalkedShare> ReadSharesToWalk(soci::session& sql) {
  std::vector<WalkedShare> shares;
  WalkedShare share;
  int mounted = 0;
  soci::statement rows =
      (sql.prepare << "SELECT id, name, path, mounted FROM shares ORDER BY id", soci::into(share.share.id),
       soci::into(share.share.name), soci::into(share.share.path), soci::into(mounted));
  for (bool more = rows.execute(true); more; more = rows.fetch()) {
    share.was_mounted = mounted != 0;
    shares.push_back(share);
  }
  return shares;
}

void WriteMounted(soci::session& sql, const WalkedShare& share) {
  const int mounted = share.walk.mounted ? 1 : 0;
  sql << "UPDATE shares SET mounted = :mounted WHERE id = :id", soci::use(mounted), soci::use(share.share.id);
}

void WriteVideo(soci::session& sql, const ScanTask& task, const VideoFacts& facts, const std::string& marks,
                int64_t now) {
  const std::string title = base::ToUtf8(facts.title);
  const NameColumns names(task, title);
  DropRefused(sql, task.path);
  sql << "INSERT INTO files(share, path, folder, size, modified_ns, inode, marks, added, title, sort_key, "
         "search_text, container, video_codec, audio_codec, duration_ms, width, height, bitrate) "
         "SELECT id, :path, :folder, :size, :modified, :inode, :marks, :now, :title, :sort_key, "
         ":search_text, "
         ":container, :video_codec, :audio_codec, :duration, :width, :height, :bitrate "
         "FROM shares WHERE id = :share "
         "ON CONFLICT(path) DO UPDATE SET size = excluded.size, modified_ns = excluded.modified_ns, "
         "inode = excluded.inode, marks = excluded.marks, title = excluded.title, "
         "sort_key = excluded.sort_key, search_text = excluded.search_text, container = excluded.container, "
         "video_codec = excluded.video_codec, audio_codec = excluded.audio_codec, "
         "duration_ms = excluded.duration_ms, width = excluded.width, height = excluded.height, "
         "bitrate = excluded.bitrate",
      soci::use(task.path), soci::use(names.folder), soci::use(task.found.size),
      soci::use(task.found.modified_ns), soci::use(task.found.inode), soci::use(marks), soci::use(now),
      soci::use(title), soci::use(names.sort_key), soci::use(names.search_text), soci::use(facts.container),
      soci::use(facts.video_codec), soci::use(facts.audio_codec), soci::use(facts.duration_ms),
      soci::use(facts.width), soci::use(facts.height), soci::use(facts.bitrate), soci::use(task.share);
}

void WriteRefused(soci::session& sql, const ScanTask& task, const std::string& reason) {
  const std::string text = base::ToOneLine(reason);
  DropRefused(sql, task.path);
  sql << "DELETE FROM files WHERE path = :path", soci::use(task.path);
  sql << "INSERT INTO refused_files(path, share, size, modified_ns, inode, reason) "
         "SELECT :path, id, :size, :modified, :inode, :reason FROM shares WHERE id = :share",
      soci::use(task.path), soci::use(task.found.size), soci::use(task.found.modified_ns),
      soci::use(task.found.inode), soci::use(text), soci::use(task.share);
}

void WriteMove(soci::session& sql, const ScanTask& task, int id) {
  std::string title;
  sql << "SELECT title FROM files WHERE id = :id", soci::use(id), soci::into(title);
  if (!sql.got_data()) return;
  const NameColumns names(task, title);
  DropRefused(sql, task.path);
  sql << "UPDATE files SET share = :share, path = :path, folder = :folder, modified_ns = :modified, "
         "inode = :inode, sort_key = :sort_key, search_text = :search_text WHERE id = :id",
      soci::use(task.share), soci::use(task.path), soci::use(names.folder), soci::use(task.found.modified_ns),
      soci::use(task.found.inode), soci::use(names.sort_key), soci::use(names.search_text), soci::use(id);
}

void WriteRemoval(soci::session& sql, const KnownPath& gone) {
  if (gone.file.id == 0) {
    DropRefused(sql, gone.path);
  } else {
    sql << "DELETE FROM files WHERE id = :id", soci::use(gone.file.id);
  }
}

}  // namespace kinora::media
