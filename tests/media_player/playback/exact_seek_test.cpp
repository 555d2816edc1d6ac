// SPDX-License-Identifier: GPL-3.0-or-later
//
// Every frame of a clip, sought for from everywhere, must be the very frame of a straight decode.

#include <algorithm>
#include <cstdlib>
#include <future>
#include <numeric>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "media_player/media_source/media_source.h"
#include "media_player/playback/null_subtitles_renderer.h"
#include "media_player/playback/visual_data_provider.h"
#include "tests/media_player/playback/playback_fakes.h"
#include "tests/support/case_name.h"
#include "tests/support/clips.h"

namespace zelvane::test {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kStride = 9;
#else
constexpr std::size_t kStride = 1;
#endif

/// A frame as it is known by: where it begins and what its visible bytes are.
struct Seen {
    CMTime time;
    std::size_t digest = 0;
    friend bool operator==(const Seen&, const Seen&) = default;
};

std::size_t digestOf(const CVPixelBuffer& picture) {
    const auto* descriptor = pixelFormatDescriptor(picture.pixelFormat());
    std::size_t digest = 0;
    for (int i = 0; i < picture.planeCount(); ++i) {
        const auto& plane = picture.plane(i);
        const auto bytes = static_cast<std::size_t>(plane.width) *
                           descriptor->planes[static_cast<std::size_t>(i)].bytesPerBlock;
        for (int row = 0; row < plane.height; ++row) {
            const std::string_view text(
                reinterpret_cast<const char*>(plane.baseAddress) + row * plane.bytesPerRow, bytes);
            digest = digest * 31 + std::hash<std::string_view>()(text);
        }
    }
    return digest;
}

Seen seen(const CMSampleBufferRef& buffer) {
    return buffer == nullptr
               ? Seen{kCMTimeInvalid, 0}
               : Seen{buffer->presentationTimeStamp(), digestOf(*buffer->imageBuffer())};
}

struct Clip {
    const char* name;
    const char* arguments;
};

void PrintTo(const Clip& clip, std::ostream* stream) {
    *stream << clip.name;
}

std::filesystem::path made(const Clip& clip) {
    return madeClip(clip.name, std::string(clip.arguments));
}

/// A provider of the picture alone, over a real file.
class SoughtClip {
  public:
    /// The renderer reads ahead by `capacity` frames.
    explicit SoughtClip(const std::filesystem::path& path, std::size_t capacity = 8)
        : source_(MediaSource::open(URL::fromPath(path), CMTime(3600, 1), false)),
          track_(source_->videoTracks().at(0)), layer_(std::make_shared<FakeRenderer>(capacity)),
          provider_(std::make_shared<VisualDataProvider>(
              source_, layer_, std::make_shared<NullSubtitlesRenderer>(),
              std::make_shared<NullSubtitlesRenderer>())) {
        frames_ = decodedStraight();
        provider_->perform(true, [this] { provider_->setVideoTrack(track_); });
        main_.settle();
    }

    const std::vector<Seen>& frames() const { return frames_; }
    std::size_t wrong() const { return wrong_; }
    /// The cut goes through the last packet, and how it is concealed depends on the frames before.
    void leaveOutLast() { frames_.pop_back(); }

    /// Seeks to a time at which this frame is seen.
    void expect(std::size_t frame, const CMTime& target) {
        std::promise<void> done;
        provider_->perform(
            true, [&] { provider_->seek(target, completions_, [&] { done.set_value(); }); });
        done.get_future().wait();
        const Seen found = seen(firstOnQueue());
        if (found == frames_[frame]) {
            return;
        }
        ++wrong_;
        const auto place = std::find(frames_.begin(), frames_.end(), found);
        const bool isFrame = place != frames_.end();
        ADD_FAILURE() << "frame " << frame << " at " << target.seconds() << " s: found "
                      << (isFrame ? "frame " + std::to_string(place - frames_.begin())
                                  : "no such picture, at " + std::to_string(found.time.seconds()));
    }
    void expectStart(std::size_t frame) { expect(frame, frames_[frame].time); }
    /// Seeks to this frame, and expects all that follow, each of them once.
    void expectAllFrom(std::size_t frame) {
        expectStart(frame);
        main_.settle();
        std::vector<Seen> played;
        for (const auto& buffer : layer_->buffers()) {
            played.push_back(seen(buffer));
        }
        const std::vector<Seen> expected(frames_.begin() + static_cast<std::ptrdiff_t>(frame),
                                         frames_.end());
        const auto [difference, _] =
            std::mismatch(played.begin(), played.end(), expected.begin(), expected.end());
        EXPECT_EQ(played.size(), expected.size()) << "from frame " << frame;
        EXPECT_EQ(difference - played.begin(), static_cast<std::ptrdiff_t>(expected.size()))
            << "from frame " << frame;
    }
    /// Just before the next frame.
    void expectEnd(std::size_t frame) {
        if (frame + 1 < frames_.size()) {
            expect(frame, frames_[frame + 1].time - CMTime(1, 1'000'000));
        }
    }

  private:
    /// The pull block may enqueue more behind the answer meanwhile, never before it.
    CMSampleBufferRef firstOnQueue() const { return layer_->first(); }

    /// A packet that cannot be decoded is a gap.
    static void decode(const PacketRef& packet, CoreMediaCompatibleDecodeSession& session) {
        try {
            session.decode(packet);
        } catch (const FFmpegError&) {
            return;
        }
    }

    std::vector<Seen> decodedStraight() {
        std::vector<Seen> frames;
        CoreMediaCompatibleDecodeSession session(
            track_->decoder(),
            [&](const CMSampleBufferRef& buffer) { frames.push_back(seen(buffer)); });
        try {
            while (const auto packet = source_->visualTracksQueue()->sync(
                       [&] { return source_->readVisualPacket(track_, {}); })) {
                decode(packet->packet, session);
            }
        } catch (const FFmpegError&) {
            // A read that fails is the end.
        }
        session.finish();
        return frames;
    }

    MainQueueScope main_;
    std::shared_ptr<MediaSource> source_;
    std::shared_ptr<VideoTrack> track_;
    std::shared_ptr<FakeRenderer> layer_;
    std::shared_ptr<VisualDataProvider> provider_;
    std::shared_ptr<dispatch::Queue> completions_ = dispatch::makeSerialQueue("completions");
    std::vector<Seen> frames_;
    std::size_t wrong_ = 0;
};

/// The frames of a clip in an order that is always the same; of a long clip, some of them.
std::vector<std::size_t> someFrames(std::size_t count) {
    constexpr std::size_t kMost = 400;
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), std::mt19937(5));
    order.resize(std::min(count, kMost));
    return order;
}

void expectEveryFrameFromEveryPosition(SoughtClip& clip) {
    const std::size_t count = clip.frames().size();
    const auto order = someFrames(count);
    for (std::size_t i = 0; i < order.size() && clip.wrong() < 10; i += kStride) {
        clip.expectStart(order[i]);
        clip.expectEnd(count - 1 - order[i]);
    }
    // Steps back and forth, most of them among recent frames.
    for (std::size_t i = order.size(); i-- > 0 && clip.wrong() < 10;) {
        clip.expectStart(i);
    }
    for (std::size_t i = 0; i < order.size() && clip.wrong() < 10; i += kStride) {
        clip.expectStart(i);
    }
}

class ExactSeek : public testing::TestWithParam<Clip> {};

TEST_P(ExactSeek, findsEveryFrameFromEveryPosition) {
    SoughtClip clip(made(GetParam()));
    ASSERT_GE(clip.frames().size(), 100U);
    expectEveryFrameFromEveryPosition(clip);
}

TEST_P(ExactSeek, playsEachFrameOnceAfterASeek) {
    SoughtClip clip(made(GetParam()), 1000);
    const std::size_t count = clip.frames().size();
    for (const std::size_t frame : {count / 2, std::size_t{0}, count / 3, count - 2}) {
        clip.expectAllFrom(frame);
    }
}

/// Of codecs that ffmpeg does not encode.
class ExactSeekInRealMedia : public testing::TestWithParam<const char*> {};

TEST_P(ExactSeekInRealMedia, findsEveryFrameFromEveryPosition) {
    ZELVANE_NEEDS_SHARED_MEDIA(media);
    SoughtClip clip(media / GetParam());
    ASSERT_GE(clip.frames().size(), 10U);
    expectEveryFrameFromEveryPosition(clip);
}

#define PICTURE "-f lavfi -i testsrc2=s=160x96:r=30:d=6 -pix_fmt yuv420p "
#define H264 "-c:v libx264 -preset veryfast -g 48 -bf 3 "
#define OPEN_H264 H264 "-x264-params open-gop=1:b-pyramid=normal:scenecut=0 "
#define HEVC                                                                                       \
    "-c:v libx265 -preset ultrafast -x265-params log-level=none:keyint=48:bframes=4:b-pyramid=1:"

/// An AVI file that is cut short has no index, and each of its packets is then flagged as a key
/// frame; only the decoder knows better.
TEST(ExactSeekWithoutIndex, findsEveryFrameFromEveryPosition) {
    const auto whole = made({"exact-msmpeg4.avi", PICTURE "-c:v msmpeg4 -g 40"});
    const TemporaryFolder folder;
    const auto part = folder.path() / "part.avi";
    std::filesystem::copy_file(whole, part);
    std::filesystem::resize_file(part, std::filesystem::file_size(whole) * 9 / 10);
    SoughtClip clip(part);
    clip.leaveOutLast();
    ASSERT_GE(clip.frames().size(), 100U);
    expectEveryFrameFromEveryPosition(clip);
}

/// More files, separated by colons: samples of what is neither encoded here nor in the shared
/// media.
TEST(ExactSeekInNamedFiles, findsEveryFrameFromEveryPosition) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no thread changes the environment
    const char* const named = std::getenv("ZELVANE_EXACT_SEEK_FILES");
    if (named == nullptr) {
        GTEST_SKIP() << "ZELVANE_EXACT_SEEK_FILES names no files";
    }
    std::istringstream files(named);
    for (std::string file; std::getline(files, file, ':');) {
        SCOPED_TRACE(file);
        SoughtClip clip{std::filesystem::path(file)};
        std::cout << file << ": " << clip.frames().size() << " frames\n";
        EXPECT_GE(clip.frames().size(), 2U);
        expectEveryFrameFromEveryPosition(clip);
    }
}

const Clip kClips[] = {
    {"exact-closed.mp4", PICTURE H264},
    {"exact-open.mp4", PICTURE OPEN_H264},
    {"exact-open.mkv", PICTURE OPEN_H264},
    {"exact-open.mov", PICTURE OPEN_H264},
    {"exact-open.flv", PICTURE OPEN_H264},
    {"exact-open-h264.avi", PICTURE OPEN_H264},
    {"exact-open.ts", PICTURE OPEN_H264},
    {"exact-open.m2ts", PICTURE OPEN_H264},
    {"exact-refresh.mp4", PICTURE H264 "-x264-params intra-refresh=1"},
    {"exact-refresh.mkv", PICTURE H264 "-x264-params intra-refresh=1"},
    {"exact-refresh.ts", PICTURE H264 "-x264-params intra-refresh=1"},
    {"exact-one-key.mp4",
     "-f lavfi -i testsrc2=s=64x48:r=5:d=60 -pix_fmt yuv420p -c:v libx264 -g 9999 -bf 3"},
    {"exact-one-key.ts",
     "-f lavfi -i testsrc2=s=64x48:r=5:d=60 -pix_fmt yuv420p -c:v libx264 -g 9999 -bf 3"},
    {"exact-interlaced.ts", PICTURE H264 "-flags +ilme+ildct -x264-params tff=1:open-gop=1"},
    {"exact-hevc-open.mp4", PICTURE HEVC "open-gop=1"},
    {"exact-hevc-closed.mkv", PICTURE HEVC "open-gop=0"},
    {"exact-hevc-open.ts", PICTURE HEVC "open-gop=1"},
    {"exact-interlaced-mpeg2.ts", PICTURE "-c:v mpeg2video -g 15 -bf 2 -flags +ilme+ildct -top 1"},
    {"exact-mpeg2.ts", PICTURE "-c:v mpeg2video -g 15 -bf 2"},
    {"exact-mpeg2.mpg", PICTURE "-c:v mpeg2video -g 15 -bf 2"},
    {"exact-mpeg1.mpg", PICTURE "-c:v mpeg1video -g 15 -bf 2"},
    {"exact-mpeg2.mxf", PICTURE "-r 25 -c:v mpeg2video -g 15 -bf 2"},
    {"exact-mpeg4.mp4", PICTURE "-c:v mpeg4 -g 40 -bf 2"},
    {"exact-mpeg4.avi", PICTURE "-c:v mpeg4 -g 40 -bf 2"},
    {"exact-packed.avi", PICTURE "-c:v libxvid -g 40 -bf 2 -vtag XVID"},
    {"exact-msmpeg4.avi", PICTURE "-c:v msmpeg4 -g 40"},
    {"exact-wmv2.wmv", PICTURE "-c:v wmv2 -g 40"},
    {"exact-vp8.webm", PICTURE "-c:v libvpx -deadline realtime -cpu-used 8 -g 48"},
    {"exact-vp9.webm", PICTURE "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -g 48"},
    {"exact-vp9-alt.mkv",
     PICTURE "-c:v libvpx-vp9 -deadline good -cpu-used 5 -auto-alt-ref 1 -lag-in-frames 16 -g 48"},
    {"exact-av1.mkv", PICTURE "-c:v libaom-av1 -cpu-used 8 -usage realtime -g 48"},
    {"exact-theora.ogv", PICTURE "-c:v libtheora -g 48"},
    {"exact.gif", "-f lavfi -i testsrc2=s=96x64:r=25:d=5"},
    {"exact-mjpeg.avi", PICTURE "-c:v mjpeg"},
    {"exact-mjpeg.mov", PICTURE "-c:v mjpeg"},
    {"exact-prores.mov", "-f lavfi -i testsrc2=s=160x96:r=30:d=6 -c:v prores"},
    {"exact-dv.avi", "-f lavfi -i testsrc2=s=720x576:r=25:d=4 -pix_fmt yuv420p -c:v dvvideo"},
    {"exact-dnxhr.mov",
     "-f lavfi -i testsrc2=s=256x120:r=25:d=4 -pix_fmt yuv422p -c:v dnxhd -profile:v dnxhr_lb"},
    {"exact-cinepak.avi", "-f lavfi -i testsrc2=s=96x64:r=25:d=4 -c:v cinepak -g 20"},
    {"exact-svq1.mov", PICTURE "-c:v svq1 -g 20"},
    {"exact-huffyuv.avi", PICTURE "-pix_fmt yuv422p -c:v huffyuv"},
    {"exact-rv20.rm", PICTURE "-c:v rv20 -g 20"},
    {"exact-flv1.flv", PICTURE "-c:v flv1 -g 20"},
    {"exact-ffv1.mkv", PICTURE "-c:v ffv1 -g 12"},
    {"exact-variable.mp4", PICTURE
     "-vf select=not(eq(mod(n\\,7)\\,3))*not(between(n\\,60\\,100)) -fps_mode vfr " OPEN_H264},
    {"exact-variable.mkv", PICTURE
     "-vf select=not(eq(mod(n\\,7)\\,3))*not(between(n\\,60\\,100)) -fps_mode vfr " OPEN_H264},
    {"exact-late.mkv", PICTURE OPEN_H264 "-output_ts_offset 100"},
    {"exact-late.ts", PICTURE OPEN_H264 "-output_ts_offset 100"},
    {"exact-edit.mp4", PICTURE OPEN_H264 "-output_ts_offset -1 -avoid_negative_ts disabled"},
    {"exact-fragments.mp4", PICTURE OPEN_H264 "-movflags frag_keyframe+empty_moov"},
};

INSTANTIATE_TEST_SUITE_P(files, ExactSeekInRealMedia,
                         testing::Values("codecs/fate_pcitva15.avi",
                                         "codecs/fate_svq1_ct_ending_cut.mov",
                                         "codecs/gen_h264_interlaced_tff_mbaff.ts"),
                         [](const auto& test) {
                             return std::filesystem::path(test.param).stem().string();
                         });

INSTANTIATE_TEST_SUITE_P(clips, ExactSeek, testing::ValuesIn(kClips), caseName);

} // namespace
} // namespace zelvane::test
