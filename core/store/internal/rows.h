// How rows and cells of the library's database become values and back. The
// readings never fail: a missing or ill-typed cell takes its default, so a
// damaged row still reads as a capture the pipeline can take up again.
#pragma once

#include <string>
#include <vector>

#include "core/model/bytes.h"
#include "core/model/capture.h"
#include "core/model/capture_collection.h"
#include "core/store/database.h"

namespace brindlemoor::internal {

Capture captureFromRow(const Database::Row& row);
CaptureCollection collectionFromRow(const Database::Row& row);

// The floats one after another in the machine's byte order, no header.
Bytes blobFromFloats(const std::vector<float>& floats);
// As many whole floats as the blob holds; under 4 bytes is none.
std::vector<float> floatsFromBlob(const Bytes& blob);

// A JSON array of strings; "[]" when the strings can't be encoded (invalid
// UTF-8).
std::string jsonFromStrings(const std::vector<std::string>& strings);

}  // namespace brindlemoor::internal
