#include "ui/translation_tab.h"

#include "app/i18n.h"
#include "ui/controls.h"

#include <QGridLayout>
#include <QGroupBox>

namespace nimbara {

namespace {

QLineEdit *makeKeyField(const char *name, const char *spanish)
{
    auto *field = named(new QLineEdit, name, nimbara_i18n::tr(spanish));
    field->setEchoMode(QLineEdit::Password);
    field->setPlaceholderText(nimbara_i18n::tr(spanish));
    return field;
}

QCheckBox *makeCheck(const char *spanish, const char *name)
{
    return named(new QCheckBox(nimbara_i18n::tr(spanish)), name);
}

QLabel *makeNote(const char *spanish)
{
    auto *note = new QLabel(nimbara_i18n::tr(spanish));
    note->setWordWrap(true);
    return note;
}

QComboBox *makeTargetList()
{
    auto *list = named(new QComboBox, "target", nimbara_i18n::tr("Idioma de la traducción"));
    list->setEditable(true);
    list->addItems({ QStringLiteral("English"),
        QStringLiteral("Spanish"),
        QStringLiteral("Portuguese"),
        QStringLiteral("French"),
        QStringLiteral("German"),
        QStringLiteral("Italian"),
        QStringLiteral("Korean"),
        QStringLiteral("Chinese (Mandarin)"),
        QStringLiteral("Japanese"),
        QStringLiteral("Russian"),
        QStringLiteral("Arabic"),
        QStringLiteral("Hindi"),
        QStringLiteral("Tagalog"),
        QStringLiteral("Vietnamese"),
        QStringLiteral("Haitian Creole"),
        QStringLiteral("Swahili") });
    list->lineEdit()->setPlaceholderText(nimbara_i18n::tr("Escribe cualquier idioma..."));
    return list;
}

QComboBox *
makeList(std::initializer_list<const char *> entries, const char *name, const char *spanish)
{
    auto *list = named(new QComboBox, name, nimbara_i18n::tr(spanish));
    for (const char *entry : entries) {
        list->addItem(nimbara_i18n::tr(entry));
    }
    return list;
}

} // namespace

TranslationTab::TranslationTab(QWidget *parent)
    : QScrollArea(parent)
    , m_apiKey(makeKeyField("apiKey",
          "API key de OpenAI · se lee del almacén seguro al iniciar traducción"))
    , m_saveKey(makeCheck("Guardar en almacén seguro de este equipo", "saveApiKey"))
    , m_testKey(makeButton("Probar API key ahora", "testApiKey"))
    , m_target(makeTargetList())
    , m_toSpanish(makeButton("Predica en INGLÉS → pantallas en español", "toSpanish"))
    , m_toEnglish(makeButton("Predica en ESPAÑOL → pantallas en inglés", "toEnglish"))
    , m_start(makeButton("Iniciar traducción", "startTranslation"))
    , m_voice(makeCheck("Voz sintética en transmisión/grabación", "voice"))
    , m_live(makeCheck("Modo en vivo (texto mientras se habla)", "liveMode"))
    , m_showSubtitles(makeCheck("Mostrar subtítulos", "showSubtitles"))
    , m_clear(makeButton("Limpiar pantalla de subtítulos", "clearSubtitles"))
    , m_separator(makeList(
          { "Frases seguidas", "Cada frase en su renglón", "Renglón en blanco entre frases" },
          "separator",
          "Cómo se separan las frases en pantalla (cada pausa es una frase)"))
    , m_status(makeNote("IA pausada · frases de 1,5 a 5 s + tiempo de API"))
    , m_heard(makeNote("Escuchado (texto original que reconoce la IA): "))
    , m_bibleChoice(makeList({ "Automática según idioma de subtítulos",
                                 "Español · Reina-Valera 1909 (incluida)",
                                 "Inglés · King James Version (incluida)",
                                 "API.Bible (p. ej. Reina-Valera 1960, con tu clave)" },
          "bibleChoice",
          "Biblia para versículos"))
    , m_bibleKey(makeKeyField("bibleKey",
          "Clave de API.Bible (rest.api.bible) · se guarda en el almacén seguro"))
    , m_findBibles(makeButton("Buscar Biblias en español", "findBibles"))
    , m_bibles(named(new QComboBox, "bibles", nimbara_i18n::tr("Biblia de API.Bible")))
{
    auto *content = new QWidget;
    auto *grid = new QGridLayout(content);
    addTranslationRows(*grid);
    grid->addWidget(makeBibleGroup(), 8, 0, 1, 4);
    setWidget(content);
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    disableControls();
}

void TranslationTab::addTranslationRows(QGridLayout &grid)
{
    m_live->setChecked(true);
    m_showSubtitles->setChecked(true);
    m_separator->setCurrentIndex(1);
    grid.addWidget(m_apiKey, 0, 0, 1, 2);
    grid.addWidget(m_saveKey, 0, 2);
    grid.addWidget(m_testKey, 0, 3);
    grid.addWidget(new QLabel(nimbara_i18n::tr("Idioma de la traducción")), 1, 0);
    grid.addWidget(m_target, 1, 1);
    grid.addWidget(m_toSpanish, 1, 2);
    grid.addWidget(m_toEnglish, 1, 3);
    grid.addWidget(m_voice, 2, 0);
    grid.addWidget(m_live, 2, 1);
    grid.addWidget(m_showSubtitles, 2, 2);
    grid.addWidget(m_clear, 2, 3);
    grid.addWidget(makeNote("Cómo se separan las frases en pantalla (cada pausa es una frase)"),
        3,
        0,
        1,
        2);
    grid.addWidget(m_separator, 3, 2);
    grid.addWidget(m_start, 3, 3);
    grid.addWidget(m_status, 4, 0, 1, 4);
    grid.addWidget(m_heard, 5, 0, 1, 4);
    grid.addWidget(
        makeNote("Al iniciar aceptas enviar la entrada seleccionada a OpenAI. Tiene costo de API.\n"
                 "La voz es sintética; no se reproduce en altavoces. Música y ruido afectan la "
                 "calidad."),
        6,
        0,
        1,
        4);
    grid.setColumnStretch(1, 1);
    grid.setRowStretch(9, 1);
}

QGroupBox *TranslationTab::makeBibleGroup()
{
    auto *group = new QGroupBox(nimbara_i18n::tr("Biblia para versículos"));
    auto *grid = new QGridLayout(group);
    m_bibles->setMinimumWidth(260);
    grid->addWidget(new QLabel(nimbara_i18n::tr("Usar")), 0, 0);
    grid->addWidget(m_bibleChoice, 0, 1, 1, 2);
    grid->addWidget(m_bibleKey, 1, 0, 1, 2);
    grid->addWidget(m_findBibles, 1, 2);
    grid->addWidget(new QLabel(nimbara_i18n::tr("Biblia de API.Bible")), 2, 0);
    grid->addWidget(m_bibles, 2, 1, 1, 2);
    grid->addWidget(makeNote(
                        "Las Biblias con derechos (RVR1960, NVI, etc.) se consultan en línea con "
                        "tu propia licencia de API.Bible; la app no guarda su texto."),
        3,
        0,
        1,
        3);
    grid->setColumnStretch(1, 1);
    return group;
}

void TranslationTab::disableControls()
{
    const std::array<QWidget *, 16> controls { m_apiKey,
        m_saveKey,
        m_testKey,
        m_target,
        m_toSpanish,
        m_toEnglish,
        m_start,
        m_voice,
        m_live,
        m_showSubtitles,
        m_clear,
        m_separator,
        m_bibleChoice,
        m_bibleKey,
        m_findBibles,
        m_bibles };
    for (QWidget *control : controls) {
        control->setEnabled(false);
    }
}

} // namespace nimbara
