#include "PlaybackMenu.h"

#include <QActionGroup>
#include <QInputDialog>

#include "audio/WaveOut.h"
#include "player/CMediaPlayerCtrl.h"

PlaybackMenu::PlaybackMenu(CMediaPlayerCtrl* player, QWidget* parent) : QMenu(tr("Playback"), parent), m_player(player)
{
    // Built again as it opens: the device list follows what is plugged in. Asking ALSA for its
    // devices takes milliseconds the start-up does not have, so the list waits for the menu to open.
    connect(this, &QMenu::aboutToShow, this, [this] { Rebuild(true); });
    Rebuild(false);
}

void PlaybackMenu::Rebuild(bool bDevices)
{
    clear();
    QAction* gapless = addAction(tr("Gapless playback"));
    gapless->setCheckable(true);
    gapless->setChecked(m_player->IsGapless());
    gapless->setToolTip(tr("Play the next song right after the last sample of this one"));
    connect(gapless, &QAction::toggled, this, [this](bool on) { m_player->SetGapless(on); });
    const ReplayGainOptions options = m_player->GetReplayGain();
    addSection(tr("ReplayGain"));
    auto* modes = new QActionGroup(this);
    for (ReplayGainMode mode : {ReplayGainMode::Off, ReplayGainMode::Track, ReplayGainMode::Album}) {
        QAction* action = addAction(ReplayGainModeName(mode));
        action->setCheckable(true);
        action->setChecked(options.eMode == mode);
        modes->addAction(action);
        connect(action, &QAction::triggered, this, [this, mode] {
            ReplayGainOptions changed = m_player->GetReplayGain();
            changed.eMode = mode;
            m_player->SetReplayGain(changed);
            emit replayGainChanged();
        });
    }
    QAction* prevent = addAction(tr("Prevent clipping"));
    prevent->setCheckable(true);
    prevent->setChecked(options.bPreventClipping);
    connect(prevent, &QAction::toggled, this, [this](bool on) {
        ReplayGainOptions changed = m_player->GetReplayGain();
        changed.bPreventClipping = on;
        m_player->SetReplayGain(changed);
        emit replayGainChanged();
    });
    auto askDb = [this](const QString& title, double ReplayGainOptions::*field) {
        ReplayGainOptions changed = m_player->GetReplayGain();
        bool ok = false;
        const double db = QInputDialog::getDouble(parentWidget(), title, tr("Gain in dB:"), changed.*field, -20, 20, 1, &ok);
        if (!ok)
            return;
        changed.*field = db;
        m_player->SetReplayGain(changed);
        emit replayGainChanged();
    };
    addAction(tr("Pre-amp (%1 dB)…").arg(options.dPreampDb, 0, 'f', 1), this,
              [askDb, this] { askDb(tr("Pre-amp"), &ReplayGainOptions::dPreampDb); });
    addAction(tr("Files without values (%1 dB)…").arg(options.dFallbackDb, 0, 'f', 1), this,
              [askDb, this] { askDb(tr("Gain of files without values"), &ReplayGainOptions::dFallbackDb); });

    if (!bDevices)
        return;
    addSection(tr("Output device"));
    auto* devices = new QActionGroup(this);
    const QString current = m_player->GetOutputDevice();
    for (const WaveOutDeviceInfo& device : CMediaPlayerCtrl::ListOutputDevices()) {
        const QString name = QString::fromStdString(device.strName);
        const QString description = QString::fromStdString(device.strDescription);
        QAction* action = addAction(description.isEmpty() ? name : QStringLiteral("%1 — %2").arg(name, description));
        action->setCheckable(true);
        action->setChecked(name == current || (current.isEmpty() && name == QLatin1String("default")));
        devices->addAction(action);
        connect(action, &QAction::triggered, this, [this, name] { emit message(ChooseDevice(name)); });
    }
}

QString PlaybackMenu::ChooseDevice(const QString& name)
{
    if (GetWaveMapper().eBackend == WaveBackend::Null)
        return tr("The sound goes to the null device (--device null): %1 is not used").arg(name);
    if (m_player->SetOutputDevice(name))
        return tr("Playing to %1").arg(name);
    return tr("Cannot open %1: %2").arg(name, m_player->m_strWork.section(QLatin1Char('\n'), -1));
}
