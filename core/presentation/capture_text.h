// CaptureText is how a capture reads as plain text, for agents and for the
// terminal: a short listing of a few lines, and the full text with its
// passages, links and what was read or heard on it. Pure functions, safe from
// any thread.
//
// Both take the library's collections, so that a listing of many captures
// reads them once, and the locale and time zone in which the date is written
// (ICU's defaults for the user; fixed ones in tests).
#pragma once

#include <unicode/locid.h>
#include <unicode/timezone.h>

#include <string>
#include <vector>

#include "core/model/capture.h"
#include "core/model/capture_collection.h"

namespace brindlemoor::CaptureText {

// A text of the transcript or of the text on a capture is cut to this many
// user-perceived characters in `full`, and "…" added.
inline constexpr std::size_t kTextLimit = 4000;

// Lines joined by one newline:
//   title — kind's title (the media's title when there is no kind)
//   id <id> · <url, else source name> · <date> · <emoji name of collection>
//   summary, if not empty
//   Note: <note>, if not empty
//   Tags: a, b, if any
// The date is takenAt, else createdAt, as an abbreviated date with a short
// time. A collection missing from `collections` leaves its part out.
std::string listing(const Capture& capture, const std::vector<CaptureCollection>& collections,
                    const icu::Locale& locale, const icu::TimeZone& timeZone);

// Blocks joined by two newlines, each only where it applies: the listing; the
// length of a video in whole seconds; the highlights in curly quotes; the
// links; the transcript and the text on it, each cut at kTextLimit; and a
// line saying the description may be incomplete while the capture isn't
// organized.
std::string full(const Capture& capture, const std::vector<CaptureCollection>& collections,
                 const icu::Locale& locale, const icu::TimeZone& timeZone);

}  // namespace brindlemoor::CaptureText
