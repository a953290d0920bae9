#include "tests/testing/media_files.h"

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <numbers>
#include <random>
#include <stdexcept>

#include "tests/testing/child_process.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/opt.h>
}

namespace brindlemoor::testing {
namespace {

void check(int result, const char* what) {
  if (result < 0) {
    char words[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(result, words, sizeof words);
    throw std::runtime_error(std::string(what) + ": " + words);
  }
}

template <typename T>
T* checked(T* made, const char* what) {
  if (made == nullptr) throw std::runtime_error(std::string(what) + " failed");
  return made;
}

struct Writer {
  AVFormatContext* format = nullptr;
  AVCodecContext* video = nullptr;
  AVCodecContext* audio = nullptr;
  AVStream* videoStream = nullptr;
  AVStream* audioStream = nullptr;
  AVFrame* frame = nullptr;
  AVPacket* packet = nullptr;
  double damagedSeconds = 0;
  std::mt19937 noise{7};

  ~Writer() {
    av_packet_free(&packet);
    av_frame_free(&frame);
    avcodec_free_context(&video);
    avcodec_free_context(&audio);
    if (format != nullptr && (format->oformat->flags & AVFMT_NOFILE) == 0) avio_closep(&format->pb);
    avformat_free_context(format);
  }

  AVStream* addStream(AVCodecContext* codec) {
    if (format->oformat->flags & AVFMT_GLOBALHEADER) codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    check(avcodec_open2(codec, codec->codec, nullptr), "opening the encoder");
    AVStream* stream = checked(avformat_new_stream(format, nullptr), "a stream");
    check(avcodec_parameters_from_context(stream->codecpar, codec), "stream parameters");
    stream->time_base = codec->time_base;
    return stream;
  }

  // Sends `input` (null to drain) and writes every packet that comes out.
  void encode(AVCodecContext* codec, AVStream* stream, AVFrame* input) {
    check(avcodec_send_frame(codec, input), "encoding");
    while (true) {
      const int received = avcodec_receive_packet(codec, packet);
      if (received == AVERROR(EAGAIN) || received == AVERROR_EOF) return;
      check(received, "encoding");
      // Each frame lasts one tick, so that the file's length counts the last.
      if (codec == video && packet->duration == 0) packet->duration = 1;
      if (codec == video && packet->pts * av_q2d(codec->time_base) < damagedSeconds) {
        check(av_packet_make_writable(packet), "a packet");
        for (int i = 0; i < packet->size; ++i) packet->data[i] = static_cast<std::uint8_t>(noise());
      }
      av_packet_rescale_ts(packet, codec->time_base, stream->time_base);
      packet->stream_index = stream->index;
      check(av_interleaved_write_frame(format, packet), "writing");
    }
  }
};

void drawFrame(AVFrame* frame, const TestVideo& video, int index) {
  check(av_frame_make_writable(frame), "a frame");
  const double time = static_cast<double>(index) / video.framesPerSecond;
  const int gray = 16 + timeLevel(time, video.seconds) * 219 / 255;
  static const std::vector<std::int8_t> field = [] {  // fine detail that the frames slide across
    std::mt19937 random(11);
    std::vector<std::int8_t> values(256 * 256);
    for (auto& value : values) value = static_cast<std::int8_t>(int(random() % 49) - 24);
    return values;
  }();
  const int band = video.height / 4;
  for (int y = 0; y < video.height; ++y) {
    std::uint8_t* row = frame->data[0] + static_cast<std::ptrdiff_t>(y) * frame->linesize[0];
    for (int x = 0; x < video.width; ++x) {
      int luma = y < band ? 81 : gray;
      if (video.textured) luma += field[(y & 255) * 256 + ((x + 3 * index) & 255)];
      row[x] = static_cast<std::uint8_t>(std::clamp(luma, 16, 235));
    }
  }
  for (int y = 0; y < video.height / 2; ++y) {
    std::uint8_t* u = frame->data[1] + static_cast<std::ptrdiff_t>(y) * frame->linesize[1];
    std::uint8_t* v = frame->data[2] + static_cast<std::ptrdiff_t>(y) * frame->linesize[2];
    const bool red = y < band / 2;
    std::fill(u, u + video.width / 2, red ? 90 : 128);
    std::fill(v, v + video.width / 2, red ? 240 : 128);
  }
  frame->pts = index;
}

}  // namespace

Sound tone(double seconds, double hertz, int sampleRate) {
  Sound sound{sampleRate, {}};
  const auto count = static_cast<std::size_t>(seconds * sampleRate);
  for (std::size_t i = 0; i < count; ++i)
    sound.samples.push_back(static_cast<std::int16_t>(
        16000 * std::sin(2 * std::numbers::pi * hertz * static_cast<double>(i) / sampleRate)));
  return sound;
}

std::vector<std::uint8_t> blackPng(int width, int height) {
  std::vector<std::uint8_t> png{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
  const auto bigEndian = [](std::vector<std::uint8_t>& into, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
      into.push_back(static_cast<std::uint8_t>(value >> shift));
  };
  const auto chunk = [&](const char* type, const std::vector<std::uint8_t>& data) {
    bigEndian(png, static_cast<std::uint32_t>(data.size()));
    const std::size_t start = png.size();
    png.insert(png.end(), type, type + 4);
    png.insert(png.end(), data.begin(), data.end());
    bigEndian(png, static_cast<std::uint32_t>(
                       crc32(0, png.data() + start, static_cast<uInt>(png.size() - start))));
  };
  std::vector<std::uint8_t> header;
  bigEndian(header, static_cast<std::uint32_t>(width));
  bigEndian(header, static_cast<std::uint32_t>(height));
  header.insert(header.end(), {1, 0, 0, 0, 0});  // 1 bit, grey, deflate, no filter, no interlace
  chunk("IHDR", header);

  // Each row: a filter byte and its bits, all 0; deflated row by row, for size.
  const std::vector<std::uint8_t> row(1 + (static_cast<std::size_t>(width) + 7) / 8, 0);
  std::vector<std::uint8_t> compressed;
  std::vector<std::uint8_t> out(1 << 16);
  z_stream stream{};
  deflateInit(&stream, Z_BEST_SPEED);
  for (int y = 0; y < height; ++y) {
    stream.next_in = const_cast<Bytef*>(row.data());
    stream.avail_in = static_cast<uInt>(row.size());
    const int flush = y + 1 == height ? Z_FINISH : Z_NO_FLUSH;
    do {
      stream.next_out = out.data();
      stream.avail_out = static_cast<uInt>(out.size());
      deflate(&stream, flush);
      compressed.insert(compressed.end(), out.data(), out.data() + (out.size() - stream.avail_out));
    } while (stream.avail_out == 0 || (flush == Z_FINISH && stream.avail_in > 0));
  }
  deflateEnd(&stream);
  chunk("IDAT", compressed);
  chunk("IEND", {});
  return png;
}

int timeLevel(double time, double seconds) {
  return seconds > 0 ? std::clamp(static_cast<int>(std::lround(255 * time / seconds)), 0, 255) : 0;
}

void writeTestVideo(const std::filesystem::path& path, const TestVideo& video) {
  av_log_set_level(AV_LOG_QUIET);  // the encoder's statistics
  Writer writer;
  writer.damagedSeconds = video.damagedSeconds;
  check(avformat_alloc_output_context2(&writer.format, nullptr, nullptr, path.c_str()),
        "choosing a container");
  writer.packet = checked(av_packet_alloc(), "a packet");
  writer.frame = checked(av_frame_alloc(), "a frame");

  if (video.width > 0) {
    const AVCodec* codec = checked(avcodec_find_encoder_by_name("libx264"), "libx264");
    writer.video = checked(avcodec_alloc_context3(codec), "an encoder");
    writer.video->width = video.width;
    writer.video->height = video.height;
    writer.video->time_base = {1, video.framesPerSecond};
    writer.video->framerate = {video.framesPerSecond, 1};
    writer.video->pix_fmt = AV_PIX_FMT_YUV420P;
    writer.video->colorspace = AVCOL_SPC_BT470BG;
    writer.video->color_range = AVCOL_RANGE_MPEG;
    av_opt_set(writer.video->priv_data, "preset", video.preset.c_str(), 0);
    if (video.keyframeInterval > 0) {
      const std::string interval = std::to_string(video.keyframeInterval);
      const std::string params = "keyint=" + interval + ":min-keyint=" + interval + ":scenecut=0";
      av_opt_set(writer.video->priv_data, "x264-params", params.c_str(), 0);
    }
    writer.videoStream = writer.addStream(writer.video);
    if (video.rotation != 0) {
      auto* matrix = reinterpret_cast<std::int32_t*>(
          checked(av_stream_new_side_data(writer.videoStream, AV_PKT_DATA_DISPLAYMATRIX, 9 * 4),
                  "a display matrix"));
      av_display_rotation_set(matrix, video.rotation);
    }
  }
  if (video.sound) {
    const AVCodec* codec = checked(avcodec_find_encoder(AV_CODEC_ID_AAC), "an AAC encoder");
    writer.audio = checked(avcodec_alloc_context3(codec), "an encoder");
    writer.audio->sample_fmt = AV_SAMPLE_FMT_FLTP;
    writer.audio->sample_rate = video.sound->sampleRate;
    av_channel_layout_default(&writer.audio->ch_layout, 1);
    writer.audio->bit_rate = 64000;
    writer.audio->time_base = {1, video.sound->sampleRate};
    writer.audioStream = writer.addStream(writer.audio);
  }
  if (video.creationTime)
    av_dict_set(&writer.format->metadata, "creation_time", video.creationTime->c_str(), 0);
  if ((writer.format->oformat->flags & AVFMT_NOFILE) == 0)
    check(avio_open(&writer.format->pb, path.c_str(), AVIO_FLAG_WRITE), "opening the file");
  check(avformat_write_header(writer.format, nullptr), "writing the header");

  const int frames =
      writer.video ? static_cast<int>(std::lround(video.seconds * video.framesPerSecond)) : 0;
  const std::size_t samples = video.sound ? video.sound->samples.size() : 0;
  int nextFrame = 0;
  std::size_t nextSample = 0;
  while (nextFrame < frames || nextSample < samples) {
    const double frameTime = static_cast<double>(nextFrame) / video.framesPerSecond;
    const double sampleTime =
        video.sound ? static_cast<double>(nextSample) / video.sound->sampleRate : 0;
    av_frame_unref(writer.frame);
    if (nextFrame < frames && (nextSample >= samples || frameTime <= sampleTime)) {
      writer.frame->format = AV_PIX_FMT_YUV420P;
      writer.frame->width = video.width;
      writer.frame->height = video.height;
      check(av_frame_get_buffer(writer.frame, 0), "a frame");
      drawFrame(writer.frame, video, nextFrame++);
      writer.encode(writer.video, writer.videoStream, writer.frame);
    } else {
      const auto count = std::min<std::size_t>(writer.audio->frame_size, samples - nextSample);
      writer.frame->format = AV_SAMPLE_FMT_FLTP;
      writer.frame->sample_rate = video.sound->sampleRate;
      writer.frame->nb_samples = static_cast<int>(count);
      check(av_channel_layout_copy(&writer.frame->ch_layout, &writer.audio->ch_layout), "a layout");
      check(av_frame_get_buffer(writer.frame, 0), "a frame");
      auto* plane = reinterpret_cast<float*>(writer.frame->data[0]);
      for (std::size_t i = 0; i < count; ++i)
        plane[i] = video.sound->samples[nextSample + i] / 32768.0f;
      writer.frame->pts = static_cast<std::int64_t>(nextSample);
      nextSample += count;
      writer.encode(writer.audio, writer.audioStream, writer.frame);
    }
  }
  if (writer.video) writer.encode(writer.video, writer.videoStream, nullptr);
  if (writer.audio) writer.encode(writer.audio, writer.audioStream, nullptr);
  check(av_write_trailer(writer.format), "writing the trailer");
}

Sound speech(std::string_view words, const std::filesystem::path& directory) {
  const std::filesystem::path wav = directory / "speech.wav";
  ChildProcess espeak(
      "/usr/bin/espeak-ng",
      {"-v", "en-us+f2", "-s", "115", "-g", "4", "-w", wav.string(), std::string(words)}, {});
  if (espeak.wait() != 0) throw std::runtime_error("espeak-ng failed: " + espeak.err());
  // The plain 44-byte header of 16-bit mono PCM that `espeak-ng -w` writes.
  std::ifstream file(wav, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(file)), {});
  const auto u16 = [&](std::size_t at) {
    return static_cast<std::uint16_t>(static_cast<std::uint8_t>(bytes[at]) |
                                      static_cast<std::uint8_t>(bytes[at + 1]) << 8);
  };
  if (bytes.size() < 44 || bytes.compare(0, 4, "RIFF") != 0 ||
      bytes.compare(8, 8, "WAVEfmt ") != 0 || u16(20) != 1 || u16(22) != 1 || u16(34) != 16) {
    throw std::runtime_error(wav.string() + " is no 16-bit mono PCM WAV file");
  }
  Sound sound{u16(24) | u16(26) << 16, {}};
  for (std::size_t at = 44; at + 1 < bytes.size(); at += 2)
    sound.samples.push_back(static_cast<std::int16_t>(u16(at)));
  return sound;
}

}  // namespace brindlemoor::testing
