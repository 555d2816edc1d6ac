// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "platform/mpris/published_media.h"

namespace zelvane {

class MprisService;

// The two interfaces of MPRIS 2.2: https://specifications.freedesktop.org/mpris-spec/2.2/. The
// names of members are those of the bus. Children of the service. Main thread.

class MprisRootAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2")
    Q_PROPERTY(bool CanQuit READ yes CONSTANT)
    Q_PROPERTY(bool Fullscreen READ isFullScreen WRITE setFullScreen)
    Q_PROPERTY(bool CanSetFullscreen READ canSetFullScreen)
    Q_PROPERTY(bool CanRaise READ yes CONSTANT)
    Q_PROPERTY(bool HasTrackList READ no CONSTANT)
    Q_PROPERTY(QString Identity READ identity CONSTANT)
    Q_PROPERTY(QString DesktopEntry READ desktopEntry CONSTANT)
    Q_PROPERTY(QStringList SupportedUriSchemes READ uriSchemes CONSTANT)
    Q_PROPERTY(QStringList SupportedMimeTypes READ mimeTypes CONSTANT)

  public:
    static constexpr auto kInterface = "org.mpris.MediaPlayer2";

    explicit MprisRootAdaptor(MprisService& service);

    static bool yes() { return true; }
    static bool no() { return false; }
    static QString identity();
    static QString desktopEntry();
    bool canSetFullScreen() const;
    bool isFullScreen() const;
    void setFullScreen(bool isFullScreen);
    QStringList uriSchemes() const;
    QStringList mimeTypes() const;

  public slots:
    void Raise();
    void Quit();

  private:
    MprisService& service_;
};

class MprisPlayerAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2.Player")
    Q_PROPERTY(QString PlaybackStatus READ playbackStatus)
    Q_PROPERTY(QString LoopStatus READ loopStatus WRITE setLoopStatus)
    Q_PROPERTY(double Rate READ rate WRITE setRate)
    Q_PROPERTY(bool Shuffle READ shuffle WRITE setShuffle)
    Q_PROPERTY(QVariantMap Metadata READ metadata)
    Q_PROPERTY(double Volume READ volume WRITE setVolume)
    Q_PROPERTY(qlonglong Position READ position)
    Q_PROPERTY(double MinimumRate READ minimumRate)
    Q_PROPERTY(double MaximumRate READ maximumRate)
    Q_PROPERTY(bool CanGoNext READ canGoNext)
    Q_PROPERTY(bool CanGoPrevious READ canGoPrevious)
    Q_PROPERTY(bool CanPlay READ canPlay)
    Q_PROPERTY(bool CanPause READ canPause)
    Q_PROPERTY(bool CanSeek READ canSeek)
    Q_PROPERTY(bool CanControl READ canControl)

  public:
    static constexpr auto kInterface = "org.mpris.MediaPlayer2.Player";

    MprisPlayerAdaptor(MprisService& service, QDBusConnection bus);

    QString playbackStatus() const { return value("PlaybackStatus").toString(); }
    QString loopStatus() const { return value("LoopStatus").toString(); }
    double rate() const { return value("Rate").toDouble(); }
    bool shuffle() const { return value("Shuffle").toBool(); }
    QVariantMap metadata() const { return value("Metadata").toMap(); }
    double volume() const { return value("Volume").toDouble(); }
    qlonglong position() const;
    double minimumRate() const { return value("MinimumRate").toDouble(); }
    double maximumRate() const { return value("MaximumRate").toDouble(); }
    bool canGoNext() const { return value("CanGoNext").toBool(); }
    bool canGoPrevious() const { return value("CanGoPrevious").toBool(); }
    bool canPlay() const { return value("CanPlay").toBool(); }
    bool canPause() const { return value("CanPause").toBool(); }
    bool canSeek() const { return value("CanSeek").toBool(); }
    bool canControl() const { return value("CanControl").toBool(); }

    /// A window plays one file: it has nothing to repeat or to shuffle.
    void setLoopStatus(const QString& /*status*/) {}
    void setShuffle(bool /*shuffles*/) {}
    /// Pauses for 0, as the standard says.
    void setRate(double rate);
    void setVolume(double volume);

  public slots:
    void Next() {}
    void Previous() {}
    void Pause();
    void PlayPause(const QDBusMessage& message);
    void Stop();
    void Play();
    void Seek(qlonglong Offset);
    /// Ignores another medium than the present one, and a position outside it.
    void SetPosition(const QDBusObjectPath& TrackId, qlonglong Position);
    void OpenUri(const QString& Uri, const QDBusMessage& message);

  signals:
    void Seeked(qlonglong Position);

  private:
    QVariant value(const char* name) const;
    RemoteCommandHandlerStatus perform(RemoteCommand command,
                                       const RemoteCommandEvent& event = {}) const;
    void refuse(const QDBusMessage& message, const QString& why);

    MprisService& service_;
    QDBusConnection bus_;
};

} // namespace zelvane
