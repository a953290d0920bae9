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
  // The listings a shelf can be: those of the filter but the date and the
  // media, which the shelf's own menus choose.
  using Collection = LibraryFilter::Collection;
  using Kind = LibraryFilter::Kind;
  using Source = LibraryFilter::Source;
  using Recent = LibraryFilter::Recent;
  using Favorites = LibraryFilter::Favorites;
  using Unsorted = LibraryFilter::Unsorted;
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
