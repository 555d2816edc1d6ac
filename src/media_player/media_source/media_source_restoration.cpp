// SPDX-License-Identifier: GPL-3.0-or-later
#include <filesystem>
#include <utility>

#include <fmt/format.h>

#include "media_player/media_source/media_source_contents.h"
#include "media_player/media_source/media_source_restoration_parameters.h"

namespace zelvane {
namespace {

constexpr std::string_view kIDKey = "zelvane.MediaSource.id";
constexpr std::string_view kSideFilesKey =
    "zelvane.MediaSource.externalSubtitlesMediaSourceRestorationParametersArray";

// A state can come from a damaged or foreign file.
constexpr std::size_t kMaximumSideFileCount = 64;
/// Side files of side files have no use, since the player shows the tracks of the main source only.
constexpr int kMaximumNesting = 2;

template <class Track>
void renameTracks(const std::vector<std::shared_ptr<Track>>& tracks, const std::string& id) {
    for (const auto& track : tracks) {
        track->setID(fmt::format("{}.{}", id, track->streamIndex()));
    }
}

} // namespace

StateCoder MediaSource::restorableState() const {
    StateCoder coder;
    coder.encodeString(kIDKey, id());
    std::vector<StateCoder> sideFiles;
    for (const auto& source : externalMediaSources_.load()) {
        const MediaSourceRestorationParameters parameters{source->fileBookmark(),
                                                          source->restorableState()};
        sideFiles.push_back(parameters.encoded());
    }
    coder.encodeStates(kSideFilesKey, sideFiles);
    return coder;
}

void MediaSource::restore(const StateCoder& fromState, RestoreCompletion completion) {
    const auto queue = dispatch::globalQueue(dispatch::QualityOfService::userInitiated);
    queue->async(
        [self = shared_from_this(), state = fromState, completion = std::move(completion)] {
            completion(self->restoreNow(state, kMaximumNesting));
        });
}

std::optional<MediaSource::LoadError> MediaSource::restoreNow(const StateCoder& state,
                                                              int nesting) {
    if (const auto id = state.decodeString(kIDKey)) {
        rename(*id);
    }
    std::optional<LoadError> firstError;
    if (nesting == 0) {
        return firstError;
    }
    for (const auto& entry : state.decodeStates(kSideFilesKey, kMaximumSideFileCount)) {
        if (const auto parameters = MediaSourceRestorationParameters::decode(entry)) {
            const auto error = restoreSideFile(*parameters, nesting - 1);
            firstError = firstError ? firstError : error;
        }
    }
    return firstError;
}

std::optional<MediaSource::LoadError>
MediaSource::restoreSideFile(const MediaSourceRestorationParameters& parameters, int nesting) {
    const auto mainFolder = std::filesystem::path(url().path()).parent_path();
    const URL url = parameters.bookmark.resolve(mainFolder);
    return loadErrorOf(url, [&] {
        attachSideFile(url, [&](const ExternalSubtitles& external) {
            [[maybe_unused]] const auto error =
                external.mediaSource->restoreNow(parameters.restorableState, nesting);
            for (const auto& track : external.externalSubtitlesTracks) {
                track->setID(track->externalMediaSourceTrack()->id());
            }
        });
    });
}

void MediaSource::rename(const std::string& id) {
    id_.store(id);
    renameTracks(videoTracks_, id);
    renameTracks(audioTracks_, id);
    renameTracks(embeddedSubtitlesTracks_, id);
    invalidateRestorableState();
}

} // namespace zelvane
