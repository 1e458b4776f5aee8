// The keyboard table of the drag list box and the messages it posts to itself.
#include "controls/CDragListBoxEx.h"

#include <QCoreApplication>
#include <QCursor>
#include <QKeyEvent>

namespace {

enum class KeyAction {
    None, Play, Cancel, Delete, VolumeUp, VolumeDown, Info, Pause, Clear, Next, Previous, Stop,
    StartPlayer, SelectAll, Save
};

KeyAction ClassifyKey(const CDragListBoxEx& list, const QKeyEvent& e)
{
    const int key = e.key();
    if (key == Qt::Key_Return || key == Qt::Key_Enter)
        return KeyAction::Play;
    // Down arrow cancelling a drag is intended.
    if ((key == Qt::Key_Escape || key == Qt::Key_Down) && list.m_nDragState != CDragListBoxEx::DragIdle)
        return KeyAction::Cancel;
    if (key == Qt::Key_Delete && list.GetCount() >= 1)
        return KeyAction::Delete;
    const bool ctrl = e.modifiers() & Qt::ControlModifier;
    if (!ctrl && e.text().size() == 1) {
        switch (e.text().at(0).unicode()) {
        case u'+': return KeyAction::VolumeUp;
        case u'-': return KeyAction::VolumeDown;
        case u'I': case u'i': return KeyAction::Info;
        case u'P': case u'p': return KeyAction::Pause;
        case u'C': case u'c': return KeyAction::Clear;
        case u'N': case u'n': return KeyAction::Next;
        case u'B': case u'b': return KeyAction::Previous;
        case u'S': case u's': return KeyAction::Stop;
        default: break;
        }
    }
    if (ctrl) {
        switch (key) {
        case Qt::Key_Z: return KeyAction::StartPlayer;
        case Qt::Key_A: return KeyAction::SelectAll;
        case Qt::Key_S: return KeyAction::Save;
        default: break;
        }
    }
    return KeyAction::None;
}

} // namespace

void CDragListBoxEx::PostToSelf(QEvent::Type type)
{
    QCoreApplication::postEvent(this, new CUserMessageEvent(type, 0, 0));
}

bool CDragListBoxEx::PreTranslateKey(QKeyEvent* e)
{
    switch (ClassifyKey(*this, *e)) {
    case KeyAction::None: return false;
    case KeyAction::Play: PlayPlay(); break;
    case KeyAction::Cancel: CancelDrag(QCursor::pos()); break;
    case KeyAction::Delete: DeleteSelectedItems(); break;
    case KeyAction::VolumeUp: IncreaseVolume(); PostToSelf(WM_LIST_VOLUME_UP); break;
    case KeyAction::VolumeDown: DecreaseVolume(); PostToSelf(WM_LIST_VOLUME_DOWN); break;
    case KeyAction::Info: PostToSelf(WM_LIST_INFO); break;
    case KeyAction::Pause: PausePlay(); break;
    case KeyAction::Clear: ClearList(); break;
    case KeyAction::Next: PlayNext(); break;
    case KeyAction::Previous: PlayPrevius(); break;
    case KeyAction::Stop: StopPlay(); break;
    case KeyAction::StartPlayer: StartTunivoxMplayer(); break;
    case KeyAction::SelectAll: SelectAllItems(); break;
    case KeyAction::Save: SaveToPlaylist(); break;
    }
    return true;
}

bool CDragListBoxEx::event(QEvent* e)
{
    switch (e->type()) {
    case QEvent::KeyPress:
        if (PreTranslateKey(static_cast<QKeyEvent*>(e))) {
            e->accept();
            return true;
        }
        break;
    case QEvent::ShortcutOverride:
        // The table's keys belong to the list, not to application shortcuts.
        if (ClassifyKey(*this, *static_cast<QKeyEvent*>(e)) != KeyAction::None) {
            e->accept();
            return true;
        }
        break;
    default:
        if (e->type() >= WM_USER && e->type() <= QEvent::MaxUser) {
            if (auto* message = dynamic_cast<CUserMessageEvent*>(e); message && UserMessage(message))
                return true;
        }
        break;
    }
    return QListWidget::event(e);
}
