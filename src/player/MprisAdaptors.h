#pragma once
// The two MPRIS 2 D-Bus interfaces of MprisService as Qt D-Bus adaptors: each method and property
// forwards to the service. Internal to the library (needs QtDBus); GUI thread only.

#include <QDBusAbstractAdaptor>
#include <QDBusObjectPath>
#include <QStringList>
#include <QVariantMap>

#include "player/MprisService.h"

class MprisRootAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2")
    Q_PROPERTY(bool CanQuit READ CanQuit)
    Q_PROPERTY(bool CanRaise READ CanRaise)
    Q_PROPERTY(bool HasTrackList READ HasTrackList)
    Q_PROPERTY(QString Identity READ Identity)
    Q_PROPERTY(QStringList SupportedUriSchemes READ SupportedUriSchemes)
    Q_PROPERTY(QStringList SupportedMimeTypes READ SupportedMimeTypes)
public:
    explicit MprisRootAdaptor(MprisService* service) : QDBusAbstractAdaptor(service), m_pService(service) {}
    bool CanQuit() const { return false; }
    bool CanRaise() const { return true; }
    bool HasTrackList() const { return false; }
    QString Identity() const { return m_pService->Identity(); }
    QStringList SupportedUriSchemes() const { return {}; }
    QStringList SupportedMimeTypes() const { return {}; }

public slots:
    void Raise() { m_pService->Raise(); }
    // The host owns its program's life: CanQuit is false and Quit does nothing.
    void Quit() {}

private:
    MprisService* m_pService;
};

class MprisPlayerAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2.Player")
    Q_PROPERTY(QString PlaybackStatus READ PlaybackStatus)
    Q_PROPERTY(QString LoopStatus READ LoopStatus WRITE SetLoopStatus)
    Q_PROPERTY(double Rate READ Rate WRITE SetRate)
    Q_PROPERTY(bool Shuffle READ Shuffle WRITE SetShuffle)
    Q_PROPERTY(QVariantMap Metadata READ Metadata)
    Q_PROPERTY(double Volume READ Volume WRITE SetVolume)
    Q_PROPERTY(qlonglong Position READ Position)
    Q_PROPERTY(double MinimumRate READ Rate)
    Q_PROPERTY(double MaximumRate READ Rate)
    Q_PROPERTY(bool CanGoNext READ CanGoNext)
    Q_PROPERTY(bool CanGoPrevious READ CanGoNext)
    Q_PROPERTY(bool CanPlay READ CanPlay)
    Q_PROPERTY(bool CanPause READ CanPlay)
    Q_PROPERTY(bool CanSeek READ CanSeek)
    Q_PROPERTY(bool CanControl READ CanControl)
public:
    explicit MprisPlayerAdaptor(MprisService* service) : QDBusAbstractAdaptor(service), m_pService(service) {}
    QString PlaybackStatus() const { return m_pService->PlaybackStatus(); }
    QString LoopStatus() const { return m_pService->LoopStatus(); }
    void SetLoopStatus(const QString& status) { m_pService->SetLoopStatus(status); }
    double Rate() const { return 1.0; }
    void SetRate(double) {} // one speed only
    bool Shuffle() const { return m_pService->Shuffle(); }
    void SetShuffle(bool on) { m_pService->SetShuffle(on); }
    QVariantMap Metadata() const { return m_pService->Metadata(); }
    double Volume() const { return m_pService->Volume(); }
    void SetVolume(double volume) { m_pService->SetVolume(volume); }
    qlonglong Position() const { return m_pService->Position(); }
    bool CanGoNext() const { return m_pService->CanGoNext(); }
    bool CanPlay() const { return m_pService->CanPlay(); }
    bool CanSeek() const { return m_pService->CanSeek(); }
    bool CanControl() const { return true; }

public slots:
    void PlayPause() { m_pService->PlayPause(); }
    void Play() { m_pService->Play(); }
    void Pause() { m_pService->Pause(); }
    void Stop() { m_pService->Stop(); }
    void Next() { m_pService->Next(); }
    void Previous() { m_pService->Previous(); }
    void Seek(qlonglong Offset) { m_pService->Seek(Offset); }
    void SetPosition(const QDBusObjectPath& TrackId, qlonglong Position)
    {
        m_pService->SetPosition(TrackId.path(), Position);
    }
    // No URI scheme is offered (SupportedUriSchemes is empty).
    void OpenUri(const QString&) {}

signals:
    void Seeked(qlonglong Position);

private:
    MprisService* m_pService;
};
