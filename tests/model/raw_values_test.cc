#include "core/model/raw_values.h"

#include <gtest/gtest.h>

#include "core/model/capture_kind.h"
#include "core/model/capture_media.h"
#include "core/model/capture_stage.h"
#include "core/model/vector_space.h"

namespace brindlemoor {
namespace {

TEST(RawValues, EveryRawStringGivesItsValueAndNoOtherStringAny) {
  for (const CaptureKind kind : CaptureKind::all())
    EXPECT_EQ(CaptureKind::fromRaw(kind.raw()), kind);
  EXPECT_EQ(CaptureStage::fromRaw("organized"), CaptureStage::organized);
  EXPECT_FALSE(CaptureStage::fromRaw("Read"));
  EXPECT_FALSE(CaptureMedia::fromRaw(""));
  EXPECT_FALSE(VectorSpace::fromRaw("looks"));
}

}  // namespace
}  // namespace brindlemoor
