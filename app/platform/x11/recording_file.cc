#include "app/platform/x11/recording_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

namespace brindlemoor {
namespace {

constexpr int kVideoBitRate = 6'000'000;
constexpr int kAudioBitRate = 128'000;

}  // namespace

RecordingFile::RecordingFile(const std::filesystem::path& path, int width, int height,
                             int pixelFormat)
    : m_path(path) {
  const auto fail = [&](const std::string& what, int error) {
    char words[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(error, words, sizeof words);
    throw Failure("Cannot write the recording " + path.string() + ": " + what + " (" + words + ")");
  };
  const auto check = [&](int result, const char* what) {
    if (result < 0) fail(what, result);
  };
  // Made private before FFmpeg opens it, which keeps the mode.
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (fd < 0) {
    throw Failure("Cannot write the recording " + path.string() + ": " + std::strerror(errno));
  }
  ::close(fd);

  try {
    check(avformat_alloc_output_context2(&m_format, nullptr, "mp4", path.c_str()),
          "no MPEG-4 writer");
    const AVCodec* h264 = avcodec_find_encoder_by_name("libx264");
    const AVCodec* aac = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (!h264 || !aac) fail("no H.264 or AAC encoder", AVERROR_ENCODER_NOT_FOUND);
    const bool globalHeader = (m_format->oformat->flags & AVFMT_GLOBALHEADER) != 0;

    m_video = avcodec_alloc_context3(h264);
    m_video->width = width;
    m_video->height = height;
    m_video->time_base = {1, kFramesPerSecond};
    m_video->framerate = {kFramesPerSecond, 1};
    m_video->pix_fmt = AV_PIX_FMT_YUV420P;
    m_video->bit_rate = kVideoBitRate;
    if (globalHeader) m_video->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    // The fastest preset leaves most of a core to the browser that plays.
    av_opt_set(m_video->priv_data, "preset", "ultrafast", 0);
    check(avcodec_open2(m_video, h264, nullptr), "the H.264 encoder refused");

    m_audio = avcodec_alloc_context3(aac);
    m_audio->sample_fmt = AV_SAMPLE_FMT_FLTP;
    m_audio->sample_rate = kSampleRate;
    av_channel_layout_default(&m_audio->ch_layout, kChannels);
    m_audio->bit_rate = kAudioBitRate;
    m_audio->time_base = {1, kSampleRate};
    if (globalHeader) m_audio->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    check(avcodec_open2(m_audio, aac, nullptr), "the AAC encoder refused");

    for (auto [codec, stream] : {std::pair{m_video, &m_videoStream}, {m_audio, &m_audioStream}}) {
      *stream = avformat_new_stream(m_format, nullptr);
      if (!*stream) fail("no stream", AVERROR(ENOMEM));
      check(avcodec_parameters_from_context((*stream)->codecpar, codec), "the stream");
      (*stream)->time_base = codec->time_base;
    }
    check(avio_open(&m_format->pb, path.c_str(), AVIO_FLAG_WRITE), "opening");
    AVDictionary* options = nullptr;
    av_dict_set(&options, "movflags", "+faststart", 0);
    const int written = avformat_write_header(m_format, &options);
    av_dict_free(&options);
    check(written, "writing the header");

    m_picture = av_frame_alloc();
    m_sound = av_frame_alloc();
    m_packet = av_packet_alloc();
    m_fifo = av_audio_fifo_alloc(AV_SAMPLE_FMT_FLTP, kChannels, kSampleRate);
    m_scaler = sws_getContext(width, height, static_cast<AVPixelFormat>(pixelFormat), width, height,
                              AV_PIX_FMT_YUV420P, SWS_BILINEAR, nullptr, nullptr, nullptr);
    if (!m_picture || !m_sound || !m_packet || !m_fifo || !m_scaler)
      fail("no memory for the frames", AVERROR(ENOMEM));
    m_picture->format = AV_PIX_FMT_YUV420P;
    m_picture->width = width;
    m_picture->height = height;
    check(av_frame_get_buffer(m_picture, 0), "no memory for the frames");
  } catch (...) {
    release();
    throw;
  }
}

RecordingFile::~RecordingFile() {
  release();
}

void RecordingFile::release() {
  sws_freeContext(m_scaler);
  m_scaler = nullptr;
  if (m_fifo) av_audio_fifo_free(m_fifo);
  m_fifo = nullptr;
  av_packet_free(&m_packet);
  av_frame_free(&m_sound);
  av_frame_free(&m_picture);
  avcodec_free_context(&m_audio);
  avcodec_free_context(&m_video);
  if (m_format) {
    avio_closep(&m_format->pb);
    avformat_free_context(m_format);
    m_format = nullptr;
  }
  if (!m_finished) {
    std::error_code ignored;
    std::filesystem::remove(m_path, ignored);
  }
}

void RecordingFile::addFrame(const std::uint8_t* pixels, int stride, std::int64_t index) {
  // The encoder may still hold the last picture.
  if (av_frame_make_writable(m_picture) < 0) throw Failure("There is no memory for the recording.");
  const std::uint8_t* const planes[] = {pixels};
  const int strides[] = {stride};
  sws_scale(m_scaler, planes, strides, 0, m_picture->height, m_picture->data, m_picture->linesize);
  repeatFrame(index);
}

void RecordingFile::repeatFrame(std::int64_t index) {
  m_picture->pts = index;
  m_frames = index + 1;
  encode(m_video, m_videoStream, m_picture);
}

void RecordingFile::addSound(std::span<const float> samples) {
  const int count = static_cast<int>(samples.size() / kChannels);
  std::vector<float> left(count), right(count);
  for (int i = 0; i < count; ++i) {
    left[i] = samples[static_cast<std::size_t>(i) * 2];
    right[i] = samples[static_cast<std::size_t>(i) * 2 + 1];
  }
  void* planes[] = {left.data(), right.data()};
  if (av_audio_fifo_write(m_fifo, planes, count) < count)
    throw Failure("There is no memory for the recording.");
  m_soundAdded += count;
  while (av_audio_fifo_size(m_fifo) >= m_audio->frame_size) encodeSound();
}

void RecordingFile::encodeSound() {
  const int samples = m_audio->frame_size;
  av_frame_unref(m_sound);
  m_sound->format = AV_SAMPLE_FMT_FLTP;
  m_sound->sample_rate = kSampleRate;
  m_sound->nb_samples = samples;
  av_channel_layout_copy(&m_sound->ch_layout, &m_audio->ch_layout);
  if (av_frame_get_buffer(m_sound, 0) < 0) throw Failure("There is no memory for the recording.");
  av_audio_fifo_read(m_fifo, reinterpret_cast<void**>(m_sound->data), samples);
  m_sound->pts = m_soundEncoded;
  m_soundEncoded += samples;
  encode(m_audio, m_audioStream, m_sound);
}

void RecordingFile::encode(AVCodecContext* codec, AVStream* stream, const AVFrame* frame) {
  int result = avcodec_send_frame(codec, frame);
  while (result >= 0) {
    result = avcodec_receive_packet(codec, m_packet);
    if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
    if (result < 0) break;
    // A frame lasts one tick, so that the file's length counts the last one.
    if (codec == m_video && m_packet->duration == 0) m_packet->duration = 1;
    av_packet_rescale_ts(m_packet, codec->time_base, stream->time_base);
    m_packet->stream_index = stream->index;
    result = av_interleaved_write_frame(m_format, m_packet);
  }
  char words[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(result, words, sizeof words);
  throw Failure("Cannot write the recording " + m_path.string() + " (" + words + ")");
}

void RecordingFile::finish() {
  const std::int64_t wanted = m_frames * kSampleRate / kFramesPerSecond;
  if (m_soundAdded < wanted) {
    const std::vector<float> silence(static_cast<std::size_t>(wanted - m_soundAdded) * kChannels);
    addSound(silence);
  }
  // The last block of sound is whole, a few milliseconds of silence past the video.
  if (const int rest = av_audio_fifo_size(m_fifo); rest > 0) {
    addSound(std::vector<float>(static_cast<std::size_t>(m_audio->frame_size - rest) * kChannels));
  }
  encode(m_video, m_videoStream, nullptr);
  encode(m_audio, m_audioStream, nullptr);
  if (const int result = av_write_trailer(m_format); result < 0) {
    char words[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(result, words, sizeof words);
    throw Failure("Cannot write the recording " + m_path.string() + " (" + words + ")");
  }
  m_finished = true;
}

}  // namespace brindlemoor
