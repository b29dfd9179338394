#pragma once

#include <cstdint>

/// AtspiRole numbers, as in atspi-constants.h of at-spi2-core 2.56; the protocol never renumbers them.
namespace jumplark::atspi::role {

inline constexpr uint32_t invalid = 0, alert = 2, canvas = 6, checkBox = 7, checkMenuItem = 8, colorChooser = 9,
                          columnHeader = 10, comboBox = 11, dateEditor = 12, desktopIcon = 13, dial = 15, dialog = 16,
                          drawingArea = 18, fileChooser = 19, filler = 20, fontChooser = 22, frame = 23, icon = 26,
                          image = 27, internalFrame = 28, label = 29, layeredPane = 30, list = 31, listItem = 32,
                          menu = 33, menuBar = 34, menuItem = 35, pageTab = 37, pageTabList = 38, panel = 39,
                          passwordText = 40, popupMenu = 41, progressBar = 42, pushButton = 43, radioButton = 44,
                          radioMenuItem = 45, rootPane = 46, rowHeader = 47, scrollBar = 48, scrollPane = 49,
                          separator = 50, slider = 51, spinButton = 52, splitPane = 53, statusBar = 54, table = 55,
                          tableCell = 56, tableColumnHeader = 57, tableRowHeader = 58, tearoffMenuItem = 59,
                          terminal = 60, text = 61, toggleButton = 62, toolBar = 63, toolTip = 64, tree = 65,
                          treeTable = 66, unknown = 67, viewport = 68, window = 69, extended = 70, header = 71,
                          footer = 72, paragraph = 73, application = 75, autocomplete = 76, editbar = 77, embedded = 78,
                          entry = 79, chart = 80, caption = 81, documentFrame = 82, heading = 83, page = 84,
                          section = 85, redundantObject = 86, form = 87, link = 88, tableRow = 90, treeItem = 91,
                          documentSpreadsheet = 92, documentPresentation = 93, documentText = 94, documentWeb = 95,
                          documentEmail = 96, comment = 97, listBox = 98, grouping = 99, imageMap = 100,
                          notification = 101, infoBar = 102, levelBar = 103, titleBar = 104, blockQuote = 105,
                          definition = 108, landmark = 110, rating = 114, staticText = 116, subscript = 119,
                          superscript = 120, descriptionTerm = 122, descriptionValue = 123, footnote = 124,
                          contentDeletion = 125, contentInsertion = 126, mark = 127, suggestion = 128,
                          pushButtonMenu = 129, switchRole = 130;

template <uint32_t... roles>
constexpr bool isOneOf(uint32_t role) {
  return ((role == roles) || ...);
}

}  // namespace jumplark::atspi::role
