// The videos that a scan found, as the page lists them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/media/store.h"
#include "platform/media/video_facts.h"

namespace kinora::media {

struct Video {
  int id = 0;
  std::string path;    // absolute, any bytes but NUL
  std::string folder;  // relative to the share, any bytes; empty at its top
  std::string share;   // the share's name
  int64_t size = 0;
  int64_t modified_ns = 0;  // since the epoch
  int64_t added = 0;        // seconds since the epoch
  VideoFacts facts;
};

// What a film is called: the title in its tags, else its file's name without the extension.
std::string ShownTitle(const Video& video);

enum class SortOrder { kTitle, kNewest, kDuration, kSize };  // A to Z; the greatest first

struct CatalogQuery {
  int64_t offset = 0;
  int64_t limit = 100;   // 1 to 1000; what lies outside becomes the nearest
  std::string search{};  // words that title or path must hold, without regard to case
  SortOrder sort = SortOrder::kTitle;
};

struct CatalogPage {
  int64_t total = 0;
  std::vector<Video> videos;
};

// All throw LibKinora::db::Failure when the database cannot answer.
class Catalog {
 public:
  explicit Catalog(Store& store) : store_(store) {}

  // A page of the videos and how many there are in all.
  CatalogPage List(const CatalogQuery& query);
  std::optional<Video> Find(int id);
  // Of all videos, in no order.
  std::vector<std::string> Paths();

 private:
  Store& store_;
};

}  // namespace kinora::media
