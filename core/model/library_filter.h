// LibraryFilter selects a listing of captures: by collection, kind, source,
// date or media, or one of the fixed lists. A plain value compared by case
// and value.
#pragma once

#include <string>
#include <variant>

#include "core/model/capture_kind.h"
#include "core/model/capture_media.h"
#include "core/model/date.h"

namespace brindlemoor {

class LibraryFilter {
 public:
  struct Collection {
    std::string id;
    bool operator==(const Collection&) const = default;
  };
  struct Kind {
    CaptureKind kind;
    bool operator==(const Kind&) const = default;
  };
  struct Source {
    std::string name;
    bool operator==(const Source&) const = default;
  };
  struct Since {
    Date date;
    bool operator==(const Since&) const = default;
  };
  struct Media {
    CaptureMedia media;
    bool operator==(const Media&) const = default;
  };
  struct Recent {
    bool operator==(const Recent&) const = default;
  };
  struct Favorites {
    bool operator==(const Favorites&) const = default;
  };
  struct Unsorted {
    bool operator==(const Unsorted&) const = default;
  };
  using Case = std::variant<Collection, Kind, Source, Since, Media, Recent, Favorites, Unsorted>;

  static LibraryFilter collection(std::string id) { return {Collection{std::move(id)}}; }
  static LibraryFilter kind(CaptureKind kind) { return {Kind{kind}}; }
  static LibraryFilter source(std::string name) { return {Source{std::move(name)}}; }
  static LibraryFilter since(Date date) { return {Since{date}}; }
  static LibraryFilter media(CaptureMedia media) { return {Media{media}}; }
  static LibraryFilter recent() { return {Recent{}}; }
  static LibraryFilter favorites() { return {Favorites{}}; }
  static LibraryFilter unsorted() { return {Unsorted{}}; }

  const Case& value() const { return m_case; }
  bool operator==(const LibraryFilter&) const = default;

 private:
  LibraryFilter(Case value) : m_case(std::move(value)) {}
  Case m_case;
};

}  // namespace brindlemoor
