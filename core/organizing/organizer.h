// Organizer decides where a capture belongs once it has its vector in the
// `meaning` space: it joins an existing collection, forms a new one with
// captures that have none yet, or stays unsorted. It also says when a
// collection is due to be named again. It is pure logic over vectors and holds
// nothing but its three thresholds; Library gathers the input and carries out
// the decision.
//
// An Organizer is a plain value; its functions are const and safe from any
// thread. None of them can fail.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "core/model/capture_collection.h"

namespace brindlemoor {

struct Organizer {
  // One existing collection as seen for a decision: its id and one vector per
  // capture in it. The library holds every vector it has, so the groups view
  // them where they lie; they must outlive the decision.
  struct Group {
    std::string id;
    std::vector<std::span<const float>> members;
    // VectorMath::centroid(members), when the caller has it already: a
    // decision then reads a member only of a group whose centroid passes.
    std::optional<std::vector<float>> centroid;
  };

  // A capture that has no collection yet and may form one.
  struct Unsorted {
    std::string id;
    std::span<const float> vector;
  };

  // What is to become of the capture decided on.
  struct Decision {
    // It joins the collection `collectionID`; `similarity` is its score
    // against that collection's centroid.
    struct Join {
      std::string collectionID;
      float similarity = 0;
      bool operator==(const Join&) const = default;
    };
    // It forms a new collection with the captures `with`, not counting
    // itself, the closest first; `similarity` is the score of the first.
    struct Form {
      std::vector<std::string> with;
      float similarity = 0;
      bool operator==(const Form&) const = default;
    };
    // It stays out of every collection.
    struct StayUnsorted {
      bool operator==(const StayUnsorted&) const = default;
    };

    static Decision join(std::string collectionID, float similarity) {
      return {Join{std::move(collectionID), similarity}};
    }
    static Decision form(std::vector<std::string> with, float similarity) {
      return {Form{std::move(with), similarity}};
    }
    static Decision stayUnsorted() { return {StayUnsorted{}}; }

    std::variant<Join, Form, StayUnsorted> value;
    bool operator==(const Decision&) const = default;
  };

  static constexpr float defaultJoin = 0.8f;
  static constexpr float defaultForm = 0.79f;

  // A capture joins a collection when its score against the collection's
  // centroid reaches joinThreshold and its score against at least one member
  // reaches formThreshold: near the middle, and near something real.
  float joinThreshold = defaultJoin;
  // The least score of an unsorted capture to be gathered into a new
  // collection, and of the best member of a collection to be joined.
  float formThreshold = defaultForm;
  // The most captures a new collection gathers besides the one decided on.
  int maxFormMembers = 12;

  // Where the capture with `vector` belongs. Scores are dot products, so
  // vectors are expected to be unit vectors; one of another length than
  // `vector` scores 0.
  //
  // Of the groups whose centroid scores at least joinThreshold and whose best
  // member scores at least formThreshold, the one with the highest centroid
  // score is joined, the first of equal ones. Groups without members take no
  // part. Failing that, the unsorted captures that score at least
  // formThreshold are gathered, the highest first and those of equal score in
  // their given order, at most maxFormMembers of them. With none the capture
  // stays unsorted.
  Decision decide(std::span<const float> vector, const std::vector<Group>& collections,
                  const std::vector<Unsorted>& unsorted) const;

  // Whether the model should name `collection` now: never when the user named
  // it; otherwise once it holds at least 2 captures and at least twice as
  // many as when it was last named, so a collection is named as it forms and
  // again each time it doubles.
  static bool shouldRename(const CaptureCollection& collection);
};

}  // namespace brindlemoor
