#include "ui/shell/first_steps_bar.h"

#include "base/i18n.h"
#include "ui/kit/controls.h"

#include <QHBoxLayout>
#include <QLabel>

namespace nimbara {

namespace {

struct StepRow {
    const char *text;
    const char *name;
    const char *help;
};

const StepRow &rowOf(FirstStep step)
{
    static constexpr std::array rows {
        StepRow { "Cámara", "stepCamera", "Elige tu cámara y pulsa “Conectar fuentes”." },
        StepRow { "Sonido", "stepSound", "Elige la entrada de audio y pulsa “Conectar fuentes”." },
        StepRow { "Pantalla de sala",
            "stepHall",
            "Elige el monitor del proyector y muestra en él las pantallas de sala." },
        StepRow { "Una escena", "stepScene", "Empieza por una escena hecha y cambia sus textos." },
        StepRow { "Grabación de prueba",
            "stepRecording",
            "Graba unos segundos y mira el archivo." },
        StepRow { "Un destino",
            "stepDestination",
            "Pega la clave de tu canal y marca el destino." },
    };
    return rows.at(static_cast<std::size_t>(step));
}

} // namespace

FirstStepsBar::FirstStepsBar(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("firstSteps"));
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(new QLabel(nimbara_i18n::tr("Primeros pasos")));
    for (const FirstStep step : firstSteps) {
        auto *button = makeButton(rowOf(step).text, rowOf(step).name);
        button->setToolTip(nimbara_i18n::tr(rowOf(step).help));
        connect(button, &QPushButton::clicked, this, [this, step] { Q_EMIT stepPressed(step); });
        row->addWidget(button);
        m_buttons.push_back(button);
    }
    row->addStretch();
    auto *close = makeButton("✕", "closeFirstSteps");
    close->setAccessibleName(nimbara_i18n::tr("Cerrar los primeros pasos"));
    close->setToolTip(close->accessibleName());
    connect(close, &QPushButton::clicked, this, &FirstStepsBar::closePressed);
    row->addWidget(close);
}

/// By its sign and its word, too: not every eye tells the colours.
void FirstStepsBar::showSteps(const FirstSteps &steps)
{
    for (const FirstStep step : firstSteps) {
        QPushButton *button = m_buttons[static_cast<std::size_t>(step)];
        const bool isDone = steps.isDone(step);
        const QString text = nimbara_i18n::tr(rowOf(step).text);
        button->setText(QString::fromUtf8(isDone ? "✓ " : "○ ") + text);
        button->setAccessibleName(nimbara_i18n::tr("Primeros pasos") + QStringLiteral(": ") + text
            + QStringLiteral(", ") + nimbara_i18n::tr(isDone ? "hecho" : "por hacer"));
        button->setStyleSheet(isDone ? QStringLiteral("color: #6fd3b5;") : QString());
        button->setMinimumWidth(button->sizeHint().width());
    }
}

} // namespace nimbara
