#include "ui/editor/camera_row.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

namespace nimbara {

CameraRow::CameraRow(QWidget *parent)
    : QComboBox(parent)
{
    named(this, "layerCamera", nimbara_i18n::tr("Cámara que se muestra"));
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon); // names are long
    setMinimumContentsLength(12);
    fill();
    connect(this, &QComboBox::activated, this, [this](int entry) {
        if (const QString named = m_entries.value(entry); named != m_named) {
            Q_EMIT chosen(named);
        }
    });
}

void CameraRow::showDevices(const std::vector<CaptureDevice> &devices)
{
    m_devices = devices;
    fill();
}

void CameraRow::showChoice(const QString &named)
{
    if (m_named != named) {
        m_named = named;
        fill();
    }
}

void CameraRow::fill()
{
    QStringList texts { nimbara_i18n::tr("Cámara principal") };
    m_entries = QStringList { QString() };
    for (const CaptureDevice &device : m_devices) {
        texts << nameAmongTwins(device);
        m_entries << identityText(device.marks);
    }
    int current = 0;
    if (!m_named.isEmpty()) {
        const DeviceIdentity wanted = identityFrom(m_named);
        const auto found = matchDevices({ wanted }, marksOf(m_devices)).front();
        current = found.size() == 1 ? static_cast<int>(found.front()) + 1
                                    : static_cast<int>(m_entries.size());
        if (found.size() == 1) {
            m_entries[current] = m_named; // the same one, whatever it was plugged into
        } else {
            texts << nimbara_i18n::tr(found.empty() ? "%1 (no conectada)" : "%1 (elige cuál)")
                         .arg(wanted.name);
            m_entries << m_named;
        }
    }
    refill(this, texts, current);
}

} // namespace nimbara
