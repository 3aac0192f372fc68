# Compiles the headers that most sources of a kind include once for each kind. Sources still include
# all headers that they use: the presets clang and windows build without precompiled headers.
set(standard_headers
  <algorithm> <array> <chrono> <cstddef> <cstdint> <cstring> <functional> <limits> <memory> <mutex>
  <optional> <string> <string_view> <utility> <vector>)
set(core_headers
  <QByteArray> <QDateTime> <QDir> <QFile> <QFileInfo> <QHash> <QList> <QString> <QStringList>
  <QStringView>)
set(window_headers
  <QApplication> <QFontMetrics> <QKeyEvent> <QLabel> <QMessageBox> <QPointer> <QPushButton> <QTimer>
  <QTreeView> <QWidget>)
set(test_headers <gtest/gtest.h> <filesystem> <fstream>)

# orvel_precompile(<owner> HEADERS <headers> [FOR <targets>])
# Compiles the headers with the owner's options and uses the result in the owner and in the targets,
# which have the same code generation options.
function(orvel_precompile owner)
  cmake_parse_arguments(ARG "" "" "HEADERS;FOR" ${ARGN})
  target_precompile_headers(${owner} PRIVATE ${ARG_HEADERS})
  foreach(target IN LISTS ARG_FOR)
    target_precompile_headers(${target} REUSE_FROM ${owner})
  endforeach()
endfunction()

orvel_precompile(orvel_storage HEADERS ${standard_headers}
  FOR ziplib_shared vl2uzip_parts vl2zip_parts)
orvel_precompile(orvel_registry HEADERS ${standard_headers} ${core_headers}
  FOR orvel_platform orvel_core)
orvel_precompile(orvel_forms HEADERS ${standard_headers} ${core_headers} ${window_headers}
  FOR orvel_ui)
