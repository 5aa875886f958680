#include "studio/sources/layer_cameras.h"

#include "base/error.h"
#include "base/log.h"
#include "studio/sources/camera_slate.h"
#include "studio/sources/device_return.h"

#include <algorithm>
#include <utility>

namespace nimbara {

/// A camera that layers name.
struct LayerCameras::Entry {
    QString named;
    DeviceIdentity identity;
    FramePtr slate;
    std::optional<CaptureDevice> device; ///< where it is
    std::optional<CaptureDevice> last; ///< where it was; none: a search has not found it there
    std::unique_ptr<CameraOpening> opening; ///< on its way
    MediaPtr camera; ///< delivers
    std::optional<DeviceMode> chosen; ///< what the operator wanted when it was opened
    std::int64_t nextUs = 0; ///< not opened before
    std::int64_t sinceUs = 0; ///< the camera delivers
    bool isAsked = false; ///< the operator was told that several fit

    /// Other than by a search it is not known where it is.
    [[nodiscard]] bool isSettled() const { return camera || opening; }
};

LayerCameras::LayerCameras(const Clock &clock,
    CameraOpenings &openings,
    IsHeld isHeld,
    Report status)
    : m_clock(clock)
    , m_openings(openings)
    , m_isHeld(std::move(isHeld))
    , m_status(std::move(status))
{
}

LayerCameras::~LayerCameras() = default;

LayerCameras::Entry *LayerCameras::entryOf(const QString &named) const
{
    const auto found = std::find_if(m_entries.begin(), m_entries.end(), [&](const auto &entry) {
        return entry->named == named;
    });
    return found == m_entries.end() ? nullptr : found->get();
}

/// Two texts may name one device, as it was at different times.
bool LayerCameras::isOpenedBy(const Entry &other, const Entry &entry) const
{
    return other.isSettled() && other.device && entry.device
        && isSame(*other.device, *entry.device);
}

MediaPtr LayerCameras::find(const QString &named) const
{
    const Entry *entry = entryOf(named);
    if (entry == nullptr) {
        return nullptr;
    }
    const auto found = std::find_if(m_entries.begin(), m_entries.end(), [&](const auto &other) {
        return other->camera && (other.get() == entry || isOpenedBy(*other, *entry));
    });
    return found == m_entries.end() ? nullptr : (*found)->camera;
}

Media *LayerCameras::coming(const QString &named) const
{
    const Entry *entry = entryOf(named);
    return entry != nullptr && entry->opening ? entry->opening->camera().get() : nullptr;
}

const CaptureDevice *LayerCameras::device(const QString &named) const
{
    const Entry *entry = entryOf(named);
    return entry != nullptr && entry->device ? &*entry->device : nullptr;
}

FramePtr LayerCameras::slate(const QString &named) const
{
    const Entry *entry = entryOf(named);
    return entry != nullptr ? entry->slate : nullptr;
}

void LayerCameras::poll(const std::vector<QString> &named)
{
    name(named);
    search();
    for (const auto &entry : m_entries) {
        advance(*entry);
    }
}

void LayerCameras::name(const std::vector<QString> &named)
{
    const auto isLeft = [&](const auto &entry) {
        return std::find(named.begin(), named.end(), entry->named) == named.end();
    };
    for (const auto &left : m_entries) {
        const auto heir = std::find_if(m_entries.begin(), m_entries.end(), [&](const auto &entry) {
            return !isLeft(entry) && !entry->isSettled() && isOpenedBy(*left, *entry);
        });
        if (isLeft(left) && heir != m_entries.end()) { // it names the same device
            (*heir)->camera = std::move(left->camera);
            (*heir)->opening = std::move(left->opening);
            (*heir)->chosen = left->chosen;
            (*heir)->sinceUs = left->sinceUs;
        } else if (isLeft(left)) {
            drop(*left);
        }
    }
    std::erase_if(m_entries, isLeft);
    for (const QString &each : named) {
        if (entryOf(each) == nullptr) {
            auto entry = std::make_unique<Entry>();
            entry->named = each;
            entry->identity = identityFrom(each);
            entry->slate = cameraSlate(entry->identity.name);
            m_entries.push_back(std::move(entry));
            if (!m_search.running()) {
                m_searchedUs.reset();
            }
        }
    }
}

bool LayerCameras::isInHands(const Entry &entry) const
{
    return entry.isSettled() || (entry.device && m_isHeld(*entry.device))
        || std::any_of(m_entries.begin(), m_entries.end(), [&](const auto &other) {
               return isOpenedBy(*other, entry);
           });
}

/// Where they are is asked for while one of them is not open.
void LayerCameras::search()
{
    if (const std::optional<DeviceLists> present = m_search.poll()) {
        m_silenceTold = false;
        resolve(present->video);
    }
    const bool isComplete = std::all_of(m_entries.begin(),
        m_entries.end(),
        [this](const auto &one) { return isInHands(*one); });
    const std::int64_t now = m_clock.monotonicUs();
    const std::int64_t patienceUs = m_search.running() ? DeviceReturn::patienceUs : spacingUs;
    if (isComplete || (m_searchedUs && now - *m_searchedUs <= patienceUs)) {
        return;
    }
    m_searchedUs = now;
    if (m_search.running()) {
        remember();
    } else {
        m_search.start();
    }
}

/// Another search would hang behind the one that does.
void LayerCameras::remember()
{
    if (!std::exchange(m_silenceTold, true)) {
        m_status(searchSilentText());
    }
    for (const auto &entry : m_entries) {
        if (!entry->isSettled() && !entry->device) {
            entry->device = entry->last;
        }
    }
}

void LayerCameras::resolve(const std::vector<CaptureDevice> &present)
{
    const std::vector<DeviceIdentity> marks = marksOf(present);
    std::vector<DeviceIdentity> wanted;
    for (const auto &entry : m_entries) {
        wanted.push_back(entry->identity);
    }
    for (std::size_t place = 0; place < present.size(); ++place) {
        if (m_isHeld(present[place])) { // nobody else's, but for whoever names it for certain
            wanted.push_back(rememberedAs(marks, place));
        }
    }
    const auto found = matchDevices(wanted, marks);
    for (std::size_t at = 0; at < m_entries.size(); ++at) {
        Entry &entry = *m_entries[at];
        if (entry.isSettled()) {
            continue;
        }
        entry.device
            = found[at].size() == 1 ? std::optional(present[found[at].front()]) : std::nullopt;
        entry.last = entry.device;
        if (found[at].size() > 1 && !std::exchange(entry.isAsked, true)) {
            m_status(
                Message("Hay varias cámaras como %1: elige cuál en las propiedades de la capa.",
                    { Message::verbatim(entry.identity.name) }));
        }
    }
}

void LayerCameras::advance(Entry &entry)
{
    if (entry.opening) {
        follow(entry);
    } else if (entry.camera) {
        watch(entry);
    } else if (entry.device && m_clock.monotonicUs() >= entry.nextUs && !isInHands(entry)) {
        open(entry);
    }
}

void LayerCameras::open(Entry &entry)
{
    entry.nextUs = m_clock.monotonicUs() + spacingUs;
    try {
        entry.chosen = m_openings.chosen(*entry.device);
        entry.opening
            = m_openings.begin(*entry.device, entry.chosen, m_leaving.holders(*entry.device));
    } catch (const Error &error) {
        logLine(QStringLiteral("Cámara: no se pudo reabrir: ") + error.text());
        entry.device.reset();
    }
}

void LayerCameras::follow(Entry &entry)
{
    const CameraOpening::State state = entry.opening->poll();
    if (state == CameraOpening::State::Failed) {
        logLine(
            QStringLiteral("Cámara: este modo no da imagen: ") + entry.opening->reason().spanish());
        drop(entry);
    } else if (state == CameraOpening::State::Delivers) {
        entry.camera = entry.opening->camera();
        entry.sinceUs = m_clock.monotonicUs();
        m_openings.note(*entry.device, *entry.opening);
        entry.opening.reset();
    }
}

void LayerCameras::watch(Entry &entry)
{
    entry.camera->setPictureDelay(m_pictureDelayUs);
    entry.camera->pollSource();
    if (const Message text = entry.camera->takeMessage(); !text.isEmpty()) {
        m_status(Message::verbatim(entry.identity.name + QStringLiteral(": ")) + text);
    }
    if (!entry.camera->active()) {
        if (entry.camera->starved() && entry.device) {
            m_openings.noteHalt(*entry.device, *entry.camera, entry.sinceUs);
        }
        drop(entry);
    }
}

/// It is where it was, or somewhere else, or nowhere: the next search tells.
void LayerCameras::drop(Entry &entry)
{
    if (entry.device && entry.isSettled()) {
        m_leaving.note(*entry.device,
            entry.opening ? entry.opening->holders() : DeviceHolders { entry.camera->presence() });
    }
    entry.opening.reset();
    entry.camera.reset();
    if (entry.device) {
        entry.last = std::exchange(entry.device, std::nullopt);
    }
    entry.nextUs = m_clock.monotonicUs() + spacingUs;
}

void LayerCameras::addOpen(std::vector<OpenCamera> &cameras) const
{
    for (const auto &entry : m_entries) {
        if (entry->camera && entry->device) {
            cameras.push_back({ &*entry->device, entry->camera.get() });
        }
    }
}

/// As when somebody else opens the device: it can be opened once only.
void LayerCameras::applyModes()
{
    for (const auto &entry : m_entries) {
        if (entry->isSettled() && entry->device
            && entry->chosen != m_openings.chosen(*entry->device)) {
            static_cast<void>(release(*entry->device));
            entry->nextUs = m_clock.monotonicUs();
        }
    }
}

MediaPtr LayerCameras::handOver(const CaptureDevice &device,
    const std::optional<DeviceMode> &chosen)
{
    for (const auto &entry : m_entries) {
        if (entry->camera && entry->device && isSame(*entry->device, device)
            && entry->chosen == chosen) {
            return std::exchange(entry->camera, nullptr);
        }
    }
    return nullptr;
}

bool LayerCameras::takeOver(const CaptureDevice &device,
    const std::optional<DeviceMode> &chosen,
    const MediaPtr &camera)
{
    const auto found = std::find_if(m_entries.begin(), m_entries.end(), [&](const auto &entry) {
        return !entry->isSettled() && entry->device && isSame(*entry->device, device);
    });
    if (found != m_entries.end()) {
        (*found)->camera = camera;
        (*found)->sinceUs = m_clock.monotonicUs();
        (*found)->chosen = chosen;
    }
    return found != m_entries.end();
}

DeviceHolders LayerCameras::release(const CaptureDevice &device)
{
    // It may be an entry's own, which is reset on the way.
    const CaptureDevice released = device; // NOLINT(performance-unnecessary-copy-initialization)
    for (const auto &entry : m_entries) {
        if (entry->device && isSame(*entry->device, released) && entry->isSettled()) {
            drop(*entry);
            entry->device = released; // it is in other hands now
        }
    }
    return m_leaving.holders(released);
}

} // namespace nimbara
