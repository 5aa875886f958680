#include "ui/captions/translation_tab.h"

#include "base/i18n.h"
#include "translation/pipeline/caption_hold.h"
#include "translation/service/languages.h"
#include "ui/kit/controls.h"

#include <QBoxLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QSignalBlocker>

#include <algorithm>
#include <initializer_list>

namespace nimbara {

namespace {

constexpr int tickedMore = 6; ///< pixels

QCheckBox *makeCheck(const char *spanish, const char *name)
{
    return named(new QCheckBox(nimbara_i18n::tr(spanish)), name);
}

QComboBox *makeTargetList(const char *name, const char *spanish)
{
    auto *list = named(new QComboBox, name, nimbara_i18n::tr(spanish));
    list->setEditable(true);
    list->setInsertPolicy(QComboBox::NoInsert);
    list->addItems(languages::targets());
    list->lineEdit()->setPlaceholderText(nimbara_i18n::tr("Escribe cualquier idioma..."));
    return list;
}

/// Its row is full.
void makeShort(QComboBox &list)
{
    list.setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    list.setMinimumContentsLength(9);
}

QComboBox *makeVoiceLanguageList()
{
    const QString name = nimbara_i18n::tr("Idioma de la voz");
    auto *list = named(new QComboBox, "voiceLanguage", name);
    list->setToolTip(name);
    makeShort(*list);
    list->hide();
    return list;
}

QComboBox *makeSecondList()
{
    QComboBox *list = makeTargetList("secondTarget", "Segundo idioma");
    makeShort(*list);
    list->insertItem(0, nimbara_i18n::tr("Ninguno"));
    list->setCurrentIndex(0);
    return list;
}

QSpinBox *makeHold()
{
    auto *seconds = named(new QSpinBox, "holdSeconds", nimbara_i18n::tr("Retener subtítulos"));
    seconds->setRange(0, static_cast<int>(CaptionHold::longestMs / 1000));
    seconds->setSuffix(QStringLiteral(" s"));
    return seconds;
}

} // namespace

TranslationTab::TranslationTab(QWidget *parent)
    : QScrollArea(parent)
    , m_apiKey(makeKeyField("apiKey",
          "API key de OpenAI · se lee del almacén seguro al iniciar traducción"))
    , m_saveKey(makeCheck("Guardar en almacén seguro de este equipo", "saveApiKey"))
    , m_testKey(makeButton("Probar API key ahora", "testApiKey"))
    , m_target(makeTargetList("target", "Idioma de la traducción"))
    , m_second(makeSecondList())
    , m_toSpanish(makeButton("Predica en INGLÉS → pantallas en español", "toSpanish"))
    , m_toEnglish(makeButton("Predica en ESPAÑOL → pantallas en inglés", "toEnglish"))
    , m_start(makeButton("Iniciar traducción", "startTranslation"))
    , m_voice(makeCheck("Voz sintética en transmisión/grabación", "voice"))
    , m_voiceLanguage(makeVoiceLanguageList())
    , m_live(makeCheck("Modo en vivo (texto mientras se habla)", "liveMode"))
    , m_showSubtitles(makeCheck("Mostrar subtítulos", "showSubtitles"))
    , m_clear(makeButton("Limpiar pantalla de subtítulos", "clearSubtitles"))
    , m_separator(makeList({ "Frases seguidas",
                               "Cada frase en su renglón",
                               "Renglón en blanco entre frases",
                               "Lectura" },
          "separator",
          "Cómo se separan las frases en pantalla (cada pausa es una frase)"))
    , m_glossary(makeButton("Glosario…", "openGlossary"))
    , m_prices(makeButton("Precios…", "openPrices"))
    , m_spokenOnAir(makeCheck("Versículos dichos, al aire por sí solos", "spokenGoesOnAir"))
    , m_hold(makeHold())
    , m_clearNow(makeButton("Borrar ya", "clearNow"))
    , m_holdRow(new HoldRow)
    , m_secondHoldRow(new HoldRow(QStringLiteral("second")))
    , m_status(named(makeNote("IA pausada · frases de 1,5 a 5 s + tiempo de API"), "aiStatus"))
    , m_road(named(new QLabel, "voiceRoad"))
    , m_delay(named(new QLabel, "captionDelay"))
    , m_delayCurve(named(new DelayCurve, "delayCurve"))
    , m_cost(named(new QLabel, "translationCost"))
    , m_captionNotice(named(new QLabel, "captionNotice"))
    , m_heard(named(makeNote("Escuchado (texto original que reconoce la IA): "), "heard"))
    , m_bible(new BibleGroup)
{
    auto *content = new QWidget;
    m_columns = new QBoxLayout(QBoxLayout::TopToBottom, content);
    auto *controls = new QWidget;
    auto *grid = new QGridLayout(controls);
    grid->setContentsMargins(0, 0, 0, 0);
    addRows(*grid);
    m_columns->addWidget(controls, 1);
    m_columns->addWidget(m_bible, 0, Qt::AlignTop);
    setWidget(content);
    setWidgetResizable(true);
    setFocusPolicy(Qt::NoFocus); // it scrolls to what has the keyboard
    setFrameShape(QFrame::NoFrame);
    setAccessibleName(nimbara_i18n::tr("Traducción IA y Biblia"));
    // Both words of the button fit, so that nothing moves when it changes.
    const int narrow = m_start->minimumWidth();
    showRunning(true);
    m_start->setMinimumWidth(std::max(narrow, m_start->sizeHint().width()));
    showRunning(false);
    // The mark of a ticked box is wider than that of an empty one, which is reckoned with.
    m_showSubtitles->ensurePolished();
    m_showSubtitles->setMinimumWidth(m_showSubtitles->sizeHint().width() + tickedMore);
    showDelay({}, {}, false);
    connectControls();
}

void TranslationTab::addRows(QGridLayout &grid)
{
    // Each row shares its width in its own way: in columns of the grid the longest caption of every
    // row would add up to more than a small screen has.
    QLabel *label = makeNote("Idioma de la traducción");
    auto *secondLabel = new QLabel(nimbara_i18n::tr("Segundo idioma"));
    QLabel *holdLabel = makeNote("Retener subtítulos");
    auto *separatorNote
        = makeNote("Cómo se separan las frases en pantalla (cada pausa es una frase)");
    int row = 0;
    for (const std::initializer_list<QWidget *> widgets :
        { std::initializer_list<QWidget *> { m_apiKey, m_saveKey, m_testKey },
            { label, m_target, m_toSpanish, m_toEnglish },
            { m_voice, m_voiceLanguage, m_live, m_spokenOnAir },
            { separatorNote, m_separator, m_start, m_clear },
            { secondLabel,
                m_second,
                m_glossary,
                m_prices,
                holdLabel,
                m_hold,
                m_showSubtitles,
                m_clearNow },
            { m_holdRow },
            { m_secondHoldRow } }) {
        auto *line = new QHBoxLayout;
        for (QWidget *widget : widgets) {
            line->addWidget(widget);
        }
        grid.addLayout(line, row++, 0, 1, 4);
    }
    auto *told = new QHBoxLayout;
    told->addWidget(m_road);
    told->addWidget(m_status, 1);
    told->addWidget(m_captionNotice);
    grid.addLayout(told, row++, 0, 1, 4);
    auto *heard = new QHBoxLayout;
    heard->addWidget(m_heard, 1);
    heard->addWidget(m_cost);
    heard->addWidget(m_delay);
    heard->addWidget(m_delayCurve);
    grid.addLayout(heard, row++, 0, 1, 4);
    grid.addWidget(
        makeNote("Al iniciar aceptas enviar la entrada seleccionada a OpenAI. Tiene costo de API.\n"
                 "La voz es sintética; no se reproduce en altavoces. Música y ruido afectan la "
                 "calidad."),
        row++,
        0,
        1,
        4);
    grid.setRowStretch(row, 1);
}

/// The Bible stands beside the translation where there is room for both.
bool TranslationTab::isWide(int width) const
{
    const QMargins margins = m_columns->contentsMargins();
    int needed = m_columns->spacing() + margins.left() + margins.right();
    for (int place = 0; place < m_columns->count(); ++place) {
        needed += m_columns->itemAt(place)->widget()->minimumSizeHint().width();
    }
    return width >= needed;
}

int TranslationTab::heightForWidth(int width) const
{
    const QMargins margins = m_columns->contentsMargins();
    const QWidget *controls = m_columns->itemAt(0)->widget();
    const int bible = m_bible->minimumSizeHint().width();
    const bool wide = isWide(width);
    const int rest = width - margins.left() - margins.right();
    const int first = controls->layout()->totalHeightForWidth(
        wide ? rest - bible - m_columns->spacing() : rest);
    const int second = m_bible->layout()->totalHeightForWidth(wide ? bible : rest);
    return margins.top() + margins.bottom()
        + (wide ? std::max(first, second) : first + m_columns->spacing() + second);
}

void TranslationTab::resizeEvent(QResizeEvent *event)
{
    m_columns->setDirection(
        isWide(viewport()->width()) ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
    QScrollArea::resizeEvent(event);
}

void TranslationTab::connectControls()
{
    connect(m_testKey, &QPushButton::clicked, this, &TranslationTab::testKeyPressed);
    connect(m_start, &QPushButton::clicked, this, &TranslationTab::startPressed);
    connect(m_toSpanish, &QPushButton::clicked, this, &TranslationTab::spanishPressed);
    connect(m_toEnglish, &QPushButton::clicked, this, &TranslationTab::englishPressed);
    connect(m_clear, &QPushButton::clicked, this, &TranslationTab::clearPressed);
    connect(m_target, &QComboBox::currentTextChanged, this, &TranslationTab::targetEdited);
    connect(m_second, &QComboBox::currentTextChanged, this, [this] {
        Q_EMIT secondEdited(chosenSecond());
    });
    connect(m_saveKey, &QCheckBox::toggled, this, &TranslationTab::saveKeyChanged);
    connect(m_voice, &QCheckBox::toggled, this, &TranslationTab::voiceChanged);
    connect(m_voiceLanguage,
        &QComboBox::currentIndexChanged,
        this,
        &TranslationTab::voiceLanguageChosen);
    connect(m_live, &QCheckBox::toggled, this, &TranslationTab::liveModeChanged);
    connect(m_showSubtitles, &QCheckBox::toggled, this, &TranslationTab::showSubtitlesChanged);
    connect(m_glossary, &QPushButton::clicked, this, &TranslationTab::glossaryPressed);
    connect(m_prices, &QPushButton::clicked, this, &TranslationTab::pricesPressed);
    connect(m_spokenOnAir, &QCheckBox::toggled, this, &TranslationTab::spokenOnAirChanged);
    connect(m_hold, &QSpinBox::valueChanged, this, &TranslationTab::holdChosen);
    connect(m_clearNow, &QPushButton::clicked, this, &TranslationTab::clearPressed);
    connect(m_separator, &QComboBox::currentIndexChanged, this, &TranslationTab::separatorChosen);
}

/// Without a text there is none, either.
QString TranslationTab::chosenSecond() const
{
    const QString text = m_second->currentText().trimmed();
    return text == m_second->itemText(0) ? QString() : text;
}

void TranslationTab::showSettings(const Settings &settings)
{
    const auto check = [](QCheckBox *box, bool on) {
        const QSignalBlocker blocker(box);
        box->setChecked(on);
    };
    check(m_saveKey, settings.saveKey);
    check(m_voice, settings.voice);
    check(m_live, settings.live);
    check(m_showSubtitles, settings.subtitles);
    check(m_spokenOnAir, settings.spokenOnAir);
    const QSignalBlocker target(m_target);
    const QSignalBlocker second(m_second);
    const QSignalBlocker separator(m_separator);
    const QSignalBlocker hold(m_hold);
    if (m_target->currentText().trimmed() != settings.target) { // blanks are typed on the way
        m_target->setCurrentText(settings.target);
    }
    if (chosenSecond() != settings.second) {
        m_second->setCurrentText(
            settings.second.isEmpty() ? m_second->itemText(0) : settings.second);
    }
    showVoiceLanguages(settings.voiceLanguages, settings.voiceLanguage);
    m_separator->setCurrentIndex(settings.separator);
    m_hold->setValue(settings.holdSeconds);
}

/// It may be open just now, and is filled anew only when it has other entries.
void TranslationTab::showVoiceLanguages(const QStringList &languages, int chosen)
{
    QStringList listed;
    for (int entry = 0; entry < m_voiceLanguage->count(); ++entry) {
        listed.append(m_voiceLanguage->itemText(entry));
    }
    if (listed != languages || m_voiceLanguage->currentIndex() != chosen) {
        refill(m_voiceLanguage, languages, chosen);
    }
    m_voiceLanguage->setVisible(!languages.isEmpty());
}

void TranslationTab::showDelay(const QString &summary, const QString &stages, bool grows)
{
    m_delay->setText(summary);
    m_delay->setToolTip(stages);
    m_delayCurve->setVisible(!summary.isEmpty());
    setAmber(*m_delay, grows);
    m_delayCurve->setAmber(grows);
}

void TranslationTab::showCost(const QString &summary, bool nearLimit)
{
    m_cost->setText(summary);
    setAmber(*m_cost, nearLimit);
}

void TranslationTab::showRunning(bool running)
{
    m_start->setText(nimbara_i18n::tr(running ? "Pausar traducción" : "Iniciar traducción"));
}

} // namespace nimbara
