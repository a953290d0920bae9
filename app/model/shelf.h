// Shelf is what the library's main column shows: a collection, a kind, a
// source, or one of the fixed lists. A plain value with the filter that
// lists it and the title that heads it.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "core/model/capture_collection.h"
#include "core/model/capture_kind.h"
#include "core/model/library_filter.h"

namespace brindlemoor {

class Shelf {
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
  struct Recent {
    bool operator==(const Recent&) const = default;
  };
  struct Favorites {
    bool operator==(const Favorites&) const = default;
  };
  struct Unsorted {
    bool operator==(const Unsorted&) const = default;
  };
  using Case = std::variant<Collection, Kind, Source, Recent, Favorites, Unsorted>;

  Shelf(Case value = Recent{}) : m_case(std::move(value)) {}  // NOLINT: a shelf is its case

  const Case& value() const { return m_case; }
  LibraryFilter filter() const;
  // A collection's name, "Collection" when none of `collections` has its
  // id; a kind's title; the source itself; "Home", "Favorites", "Unsorted".
  std::string title(const std::vector<CaptureCollection>& collections) const;

  bool operator==(const Shelf&) const = default;

 private:
  Case m_case;
};

}  // namespace brindlemoor
