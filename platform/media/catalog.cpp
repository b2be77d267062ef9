#include "platform/media/catalog.h"

#include <soci/soci.h>

#include <algorithm>
#include <sstream>

#include "platform/media/case_folding.h"

namespace kinora::media {
namespace {

constexpr size_t kMostWords = 16;
constexpr int64_t kLongestPage = 1000;

constexpr char kColumns[] =
    "SELECT f.id, f.path, f.folder, s.name, f.size, f.modified_ns, f.added, f.title, f.container, "
    "f.video_codec, f.audio_codec, f.duration_ms, f.width, f.height, f.bitrate "
    "FROM files f JOIN shares s ON s.id = f.share ";

void BindColumns(soci::statement& statement, Video& video) {
  VideoFacts& facts = video.facts;
  statement.exchange(soci::into(video.id));
  statement.exchange(soci::into(video.path));
  statement.exchange(soci::into(video.folder));
  statement.exchange(soci::into(video.share));
  statement.exchange(soci::into(video.size));
  statement.exchange(soci::into(video.modified_ns));
  statement.exchange(soci::into(video.added));
  statement.exchange(soci::into(facts.title));
  statement.exchange(soci::into(facts.container));
  statement.exchange(soci::into(facts.video_codec));
  statement.exchange(soci::into(facts.audio_codec));
  statement.exchange(soci::into(facts.duration_ms));
  statement.exchange(soci::into(facts.width));
  statement.exchange(soci::into(facts.height));
  statement.exchange(soci::into(facts.bitrate));
}

const char* OrderOf(SortOrder sort) {
  switch (sort) {
    case SortOrder::kNewest:
      return "f.added DESC, f.id DESC";
    case SortOrder::kDuration:
      return "f.duration_ms DESC, f.id DESC";
    case SortOrder::kSize:
      return "f.size DESC, f.id DESC";
    case SortOrder::kTitle:
      break;
  }
  return "f.sort_key, f.id";
}

std::vector<std::string> WordsOf(const std::string& search) {
  std::istringstream text(FoldCase(search));
  std::vector<std::string> words;
  for (std::string word; words.size() < kMostWords && text >> word;) words.push_back(word);
  return words;
}

// One condition for each word, its value bound under its number.
std::string ConditionsFor(const std::vector<std::string>& words) {
  std::string conditions;
  for (size_t i = 0; i < words.size(); ++i) {
    conditions += (i == 0 ? "WHERE " : "AND ");
    conditions += "instr(f.search_text, :word" + std::to_string(i) + ") > 0 ";
  }
  return conditions;
}

void BindWords(soci::statement& statement, const std::vector<std::string>& words) {
  for (size_t i = 0; i < words.size(); ++i) {
    statement.exchange(soci::use(words[i], "word" + std::to_string(i)));
  }
}

void Prepare(soci::statement& statement, const std::string& query) {
  statement.alloc();
  statement.prepare(query);
  statement.define_and_bind();
}

}  // namespace

std::string ShownTitle(const Video& video) {
  if (!video.facts.title.empty()) return video.facts.title;
  const std::string name = video.path.substr(video.path.rfind('/') + 1);
  const size_t dot = name.rfind('.');
  return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

CatalogPage Catalog::List(const CatalogQuery& query) {
  const std::vector<std::string> words = WordsOf(query.search);
  const int64_t offset = std::max<int64_t>(query.offset, 0);
  const int64_t limit = std::clamp<int64_t>(query.limit, 1, kLongestPage);
  return store_.Do([&](soci::session& sql) {
    CatalogPage page;
    soci::statement count(sql);
    count.exchange(soci::into(page.total));
    BindWords(count, words);
    Prepare(count, "SELECT COUNT(*) FROM files f " + ConditionsFor(words));
    count.execute(true);

    Video video;
    soci::statement rows(sql);
    BindColumns(rows, video);
    BindWords(rows, words);
    rows.exchange(soci::use(limit, "limit"));
    rows.exchange(soci::use(offset, "offset"));
    Prepare(rows, kColumns + ConditionsFor(words) + "ORDER BY " + OrderOf(query.sort) +
                      " LIMIT :limit OFFSET :offset");
    for (bool more = rows.execute(true); more; more = rows.fetch()) page.videos.push_back(video);
    return page;
  });
}

std::optional<Video> Catalog::Find(int id) {
  return store_.Do([&](soci::session& sql) -> std::optional<Video> {
    Video video;
    soci::statement row(sql);
    BindColumns(row, video);
    row.exchange(soci::use(id, "id"));
    Prepare(row, std::string(kColumns) + "WHERE f.id = :id");
    if (!row.execute(true)) return std::nullopt;
    return video;
  });
}

std::vector<std::string> Catalog::Paths() {
  return store_.Do([](soci::session& sql) {
    std::vector<std::string> paths;
    std::string path;
    soci::statement rows = (sql.prepare << "SELECT path FROM files", soci::into(path));
    for (bool more = rows.execute(true); more; more = rows.fetch()) paths.push_back(path);
    return paths;
  });
}

}  // namespace kinora::media
