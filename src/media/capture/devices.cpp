#include "media/capture/devices.h"

#include "media/capture/media_service.h"
#include "media/capture/usb_place.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <mutex>

namespace nimbara {

namespace {

/// A text that the device carries among its properties or as an object property; empty without.
QString deviceText(GstDevice *device, const GstStructure *properties, const char *key)
{
    if (properties != nullptr && gst_structure_has_field_typed(properties, key, G_TYPE_STRING)) {
        return QString::fromUtf8(gst_structure_get_string(properties, key));
    }
    const GParamSpec *declared = g_object_class_find_property(G_OBJECT_GET_CLASS(device), key);
    if (declared == nullptr || G_PARAM_SPEC_VALUE_TYPE(declared) != G_TYPE_STRING) {
        return {};
    }
    gchar *value = nullptr;
    g_object_get(device, key, &value, nullptr);
    return QString::fromUtf8(GCharPtr(value).get());
}

template <std::size_t Count>
QString firstText(GstDevice *device,
    const GstStructure *properties,
    const std::array<const char *, Count> &keys)
{
    for (const char *key : keys) {
        const QString text = deviceText(device, properties, key);
        if (!text.isEmpty()) {
            return QLatin1String(key) + QLatin1Char('=') + text;
        }
    }
    return {};
}

/// What stays the same while a device is away, as the providers name it: PipeWire's node name, the
/// unique identifiers of macOS, Windows and capture cards, PulseAudio's source name, the bus
/// position of a Video4Linux device.
constexpr std::array persistentKeys { "node.name",
    "avf.unique_id",
    "unique-id",
    "persistent-id",
    "device.strid",
    "internal-name",
    "v4l2.device.bus_info",
    "device.bus_path" };
/// What only says where it is at the moment.
constexpr std::array placeKeys { "object.serial", "object.path", "device.path", "sysfs.path" };

constexpr std::array vendorKeys { "device.vendor.id", "device.vendor.name" };
constexpr std::array productKeys { "device.product.id", "device.product.name" };
constexpr std::array serialKeys { "device.serial" };
constexpr std::array portKeys { "device.bus-path",
    "device.bus_path",
    "v4l2.device.bus_info",
    "api.v4l2.cap.bus_info" };
constexpr std::array nodeKeys { "node.name",
    "avf.unique_id",
    "unique-id",
    "persistent-id",
    "device.strid",
    "internal-name" };

/// What names a USB port among other things: of cameras, of sound cards, of both.
constexpr std::array usbKeys { "v4l2.device.bus_info",
    "api.v4l2.cap.bus_info",
    "api.alsa.card.longname",
    "alsa.long_card_name",
    "device.bus-path",
    "device.bus_path",
    "sysfs.path" };

QString usbPlaceOf(GstDevice *device, const GstStructure *properties)
{
    for (const char *key : usbKeys) {
        if (QString place = usbPlace(deviceText(device, properties, key)); !place.isEmpty()) {
            return place;
        }
    }
    return {};
}

DeviceIdentity marksOf(GstDevice *device, const GstStructure *properties, const QString &name)
{
    return { name,
        firstText(device, properties, vendorKeys),
        firstText(device, properties, productKeys),
        firstText(device, properties, serialKeys),
        firstText(device, properties, portKeys),
        firstText(device, properties, nodeKeys) };
}

std::vector<DeviceMode> modesOf(GstDevice *device)
{
    constexpr FrameSize landscape { 1920, 1080 };
    const auto offered = CapsRef::adopt(gst_device_get_caps(device));
    return modesToChoose(expandModes(offered.get(), landscape), landscape);
}

/// By a serial number of its own, or as the only one of its product and name. Where its maker gave
/// no number, another device may have its name.
const CaptureDevice *findElsewhere(const std::vector<CaptureDevice> &devices,
    const CaptureDevice &lost)
{
    const auto found = matchDevices({ lost.marks }, marksOf(devices)).front();
    if (found.size() != 1 || devices[found.front()].kind != lost.kind) {
        return nullptr;
    }
    const CaptureDevice &device = devices[found.front()];
    const bool hasItsSerial
        = !lost.marks.serial.isEmpty() && device.marks.serial == lost.marks.serial;
    const bool isItsProduct = !lost.marks.hasTwin && !lost.marks.product.isEmpty()
        && device.marks.product == lost.marks.product && device.name == lost.name;
    return hasItsSerial || isItsProduct ? &device : nullptr;
}

} // namespace

QString deviceFile(GstDevice *device)
{
    const QString file = directFile(device);
    const StructurePtr properties(gst_device_get_properties(device));
    return file.isEmpty() ? deviceText(device, properties.get(), "device.path") : file;
}

QString directFile(GstDevice *device)
{
    const StructurePtr properties(gst_device_get_properties(device));
    const QString file = deviceText(device, properties.get(), "api.v4l2.path");
    const QString object = deviceText(device, properties.get(), "object.path");
    const auto prefix = QLatin1String("v4l2:/");
    return file.isEmpty() && object.startsWith(prefix) ? object.mid(prefix.size() - 1) : file;
}

CaptureDevice describeDevice(GstDevice *device)
{
    const GCharPtr name(gst_device_get_display_name(device));
    const GCharPtr deviceClass(gst_device_get_device_class(device));
    const StructurePtr properties(gst_device_get_properties(device));
    CaptureDevice described;
    described.name = QString::fromUtf8(name.get());
    described.kind = g_str_has_prefix(deviceClass.get(), "Video/Source") != FALSE
        ? DeviceKind::Video
        : DeviceKind::Audio;
    described.marks = marksOf(device, properties.get(), described.name);
    described.identity = QStringList { QString::fromUtf8(deviceClass.get()),
        described.name,
        firstText(device, properties.get(), persistentKeys),
        described.marks.serial } // another one in the same port is another device
                             .join(QLatin1Char('\n'));
    described.place = firstText(device, properties.get(), placeKeys);
    described.device = DeviceRef::retain(device);
    described.usb = usbPlaceOf(device, properties.get());
    if (described.kind == DeviceKind::Video) {
        described.modes = modesOf(device);
        described.file = deviceFile(device);
    }
    return described;
}

QString nameAmongTwins(const CaptureDevice &device)
{
    const QString &port = device.marks.path.isEmpty() ? device.marks.node : device.marks.path;
    return device.marks.hasTwin ? device.name + QStringLiteral(" · ") + port.section(u'=', -1)
                                : device.name;
}

std::vector<DeviceIdentity> marksOf(const std::vector<CaptureDevice> &devices)
{
    std::vector<DeviceIdentity> marks;
    marks.reserve(devices.size());
    for (const CaptureDevice &device : devices) {
        marks.push_back(device.marks);
    }
    return marks;
}

const CaptureDevice *findAgain(const std::vector<CaptureDevice> &devices, const CaptureDevice &lost)
{
    const auto same = [&](const CaptureDevice &device) { return device.identity == lost.identity; };
    const auto first = std::find_if(devices.begin(), devices.end(), same);
    if (first == devices.end()) {
        return findElsewhere(devices, lost);
    }
    if (std::find_if(std::next(first), devices.end(), same) == devices.end()) {
        return &*first;
    }
    const auto there = std::find_if(devices.begin(),
        devices.end(),
        [&](const CaptureDevice &device) { return same(device) && device.place == lost.place; });
    return there == devices.end() ? nullptr : &*there;
}

namespace {

/// How long the end of the program waits for a search under way.
constexpr std::chrono::seconds farewell { 3 };
/// Nobody waits for a service behind which another search has hung already.
std::atomic<bool> answers { true };
std::atomic<std::uint64_t> listChanges { 0 };

/// The providers of a device monitor with the filters "Video/Source" and "Audio/Source". One for
/// the process, and never stopped: stopping it makes a media service's library release devices that
/// came and went a second time, and that has ended the process in the middle of its work. Any
/// thread.
///
/// The monitor itself would ask a provider whose service is not there to probe, which loses file
/// descriptors each time. Here such a provider is started again by the next search.
class SystemMonitor {
public:
    static SystemMonitor &instance()
    {
        static SystemMonitor monitor;
        return monitor;
    }

    /// The first call takes as long as the system needs to start looking.
    DeviceLists search()
    {
        const std::lock_guard lock(m_mutex);
        if (m_providers.empty()) {
            findProviders();
        }
        watchMediaService();
        for (Provider &provider : m_providers) {
            start(provider);
        }
        DeviceLists lists;
        const QStringList hidden = hiddenProviders();
        for (const Provider &provider : m_providers) {
            if (provider.answers && !hidden.contains(provider.name)) {
                addDevices(provider.element, lists);
            }
        }
        markTwins(lists.video);
        countChange(lists.video);
        return lists;
    }

private:
    struct Provider {
        QString name;
        GstDeviceProvider *element; ///< lives until the process ends
        bool answers = false;
    };

    void findProviders()
    {
        const auto monitor = GstRef<GstDeviceMonitor>::adopt(gst_device_monitor_new());
        gst_device_monitor_add_filter(monitor.get(), "Video/Source", nullptr);
        gst_device_monitor_add_filter(monitor.get(), "Audio/Source", nullptr);
        gchar **names = gst_device_monitor_get_providers(monitor.get());
        for (gchar **name = names; name != nullptr && *name != nullptr; ++name) {
            GstDeviceProvider *element = gst_device_provider_factory_get_by_name(*name);
            if (element != nullptr) {
                m_providers.push_back({ QString::fromUtf8(*name), element });
            }
        }
        g_strfreev(names);
    }

    static void start(Provider &provider)
    {
        if (provider.answers) {
            return;
        }
        provider.answers = gst_device_provider_can_monitor(provider.element) == FALSE
            || gst_device_provider_start(provider.element) != FALSE;
        // Nobody reads its news; the device list is asked for instead.
        const auto bus = BusRef::adopt(gst_device_provider_get_bus(provider.element));
        gst_bus_set_flushing(bus.get(), TRUE);
    }

    /// Those whose devices another one names as well.
    [[nodiscard]] QStringList hiddenProviders() const
    {
        QStringList hidden;
        for (const Provider &provider : m_providers) {
            gchar **names = gst_device_provider_get_hidden_providers(provider.element);
            for (gchar **name = names; name != nullptr && *name != nullptr; ++name) {
                hidden << QString::fromUtf8(*name);
            }
            g_strfreev(names);
        }
        return hidden;
    }

    static void addDevices(GstDeviceProvider *provider, DeviceLists &lists)
    {
        GList *found = gst_device_provider_get_devices(provider);
        for (const GList *item = found; item != nullptr; item = item->next) {
            GstDevice *device = GST_DEVICE_CAST(item->data);
            if (gst_device_has_classes(device, "Video/Source") == FALSE
                && gst_device_has_classes(device, "Audio/Source") == FALSE) {
                continue;
            }
            CaptureDevice described = describeDevice(device);
            auto &list = described.kind == DeviceKind::Video ? lists.video : lists.audio;
            list.push_back(std::move(described));
        }
        g_list_free_full(found, gst_object_unref);
    }

    static void markTwins(std::vector<CaptureDevice> &devices)
    {
        const std::vector<DeviceIdentity> present = marksOf(devices);
        for (std::size_t place = 0; place < devices.size(); ++place) {
            devices[place].marks = rememberedAs(present, place);
        }
    }

    void countChange(const std::vector<CaptureDevice> &cameras)
    {
        QStringList found;
        for (const CaptureDevice &camera : cameras) {
            found << camera.identity << camera.place;
        }
        if (m_found != found) {
            m_found = found;
            ++listChanges;
        }
    }

    std::mutex m_mutex;
    std::vector<Provider> m_providers;
    QStringList m_found; ///< cameras, by identity and place
};

} // namespace

DeviceDiscovery::~DeviceDiscovery()
{
    if (running() && answers) {
        answers = m_search.isReady(farewell);
    }
}

void DeviceDiscovery::start()
{
    if (running()) {
        m_again = true;
        return;
    }
    m_search.tryStart(
        [] { return SystemMonitor::instance().search(); }); // else it is asked for again
}

std::optional<DeviceLists> DeviceDiscovery::poll()
{
    if (!m_search.isReady()) {
        return std::nullopt;
    }
    answers = true;
    DeviceLists lists = m_search.take();
    if (std::exchange(m_again, false)) {
        start();
        return std::nullopt;
    }
    return lists;
}

std::uint64_t DeviceDiscovery::changes()
{
    return listChanges;
}

} // namespace nimbara
