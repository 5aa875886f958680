# Headers that most files of a kind include, compiled once per kind instead of once per file: they
# are more than half of what a build does. A file still includes what it uses; the linter reads it
# without these.
option(NIMBARA_PRECOMPILE "Compile the headers that most files include once" ON)

set(nimbara_core_headers
  <algorithm> <array> <atomic> <chrono> <cmath> <cstdint> <deque> <functional> <future> <map> <memory>
  <mutex> <optional> <ranges> <span> <string> <thread> <utility> <variant> <vector>
  <QByteArray> <QDateTime> <QDir> <QFile> <QFileInfo> <QHash> <QJsonArray> <QJsonDocument>
  <QJsonObject> <QList> <QObject> <QPointer> <QProcess> <QRegularExpression> <QSet> <QSettings>
  <QString> <QStringList> <QTemporaryDir> <QTimer> <QUrl> <gst/gst.h>)
set(nimbara_widget_headers
  <QApplication> <QCheckBox> <QComboBox> <QGridLayout> <QHBoxLayout> <QImage> <QLabel> <QLineEdit>
  <QListWidget> <QMenu> <QMessageBox> <QPainter> <QPlainTextEdit> <QPushButton> <QScreen>
  <QScrollArea> <QSlider> <QTabWidget> <QVBoxLayout> <QWidget>)

# nimbara_headers(<kind> HEADERS <header>... LINKS <target>... [OPTIONS <option>...])
#
# What nimbara_use_headers(<target> <kind>) takes. Both sides must be compiled with the same options.
function(nimbara_headers kind)
  cmake_parse_arguments(KIND "" "" "HEADERS;LINKS;OPTIONS" ${ARGN})
  if(NOT NIMBARA_PRECOMPILE)
    return()
  endif()
  set(unit ${CMAKE_BINARY_DIR}/headers/${kind}.cpp)
  file(CONFIGURE OUTPUT ${unit} CONTENT "// The headers of the kind \"${kind}\" are what counts.\n")
  add_library(nimbara_headers_${kind} OBJECT ${unit})
  set_target_properties(nimbara_headers_${kind} PROPERTIES AUTOMOC OFF)
  target_compile_options(nimbara_headers_${kind} PRIVATE ${KIND_OPTIONS})
  target_link_libraries(nimbara_headers_${kind} PRIVATE nimbara_options PkgConfig::GST ${KIND_LINKS})
  target_precompile_headers(nimbara_headers_${kind} PRIVATE ${KIND_HEADERS})
endfunction()

function(nimbara_use_headers target kind)
  if(NIMBARA_PRECOMPILE)
    target_precompile_headers(${target} REUSE_FROM nimbara_headers_${kind})
  endif()
endfunction()
