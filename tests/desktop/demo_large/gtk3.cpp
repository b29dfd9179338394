#include <gtk/gtk.h>

#include <array>
#include <cstdio>
#include <string>

#include "Contents.h"

namespace {

GtkWidget* scrolled(GtkWidget* content) {
  GtkWidget* area = gtk_scrolled_window_new(nullptr, nullptr);
  gtk_container_add(GTK_CONTAINER(area), content);
  return area;
}

GtkWidget* makeTable() {
  GtkListStore* rows = gtk_list_store_new(large::kColumns, G_TYPE_STRING, G_TYPE_STRING, G_TYPE_STRING);
  for (int row = 0; row < large::kRows; ++row) {
    gtk_list_store_insert_with_values(rows, nullptr, -1, 0, large::cellText(row, 0).c_str(), 1,
                                      large::cellText(row, 1).c_str(), 2, large::cellText(row, 2).c_str(), -1);
  }
  GtkWidget* view = gtk_tree_view_new_with_model(GTK_TREE_MODEL(rows));
  g_object_unref(rows);
  for (int column = 0; column < large::kColumns; ++column) {
    GtkTreeViewColumn* made = gtk_tree_view_column_new_with_attributes(
        ("Column " + std::to_string(column + 1)).c_str(), gtk_cell_renderer_text_new(), "text", column, nullptr);
    gtk_tree_view_column_set_sizing(made, GTK_TREE_VIEW_COLUMN_FIXED);
    gtk_tree_view_column_set_fixed_width(made, large::kPixelsOfWindow / large::kColumns);
    gtk_tree_view_append_column(GTK_TREE_VIEW(view), made);
  }
  gtk_tree_view_set_fixed_height_mode(GTK_TREE_VIEW(view), TRUE);
  return scrolled(view);
}

GtkWidget* makeText() {
  GtkWidget* view = gtk_text_view_new();
  gtk_text_buffer_set_text(gtk_text_view_get_buffer(GTK_TEXT_VIEW(view)), large::longText().c_str(), -1);
  return scrolled(view);
}

struct Changing {
  GtkWidget* grid;
  GtkWidget* buttons[large::kChangingButtons] = {};
  int next = 0;
};

void replaceOne(Changing& changing) {
  constexpr int kAcross = 6;
  const int place = changing.next % large::kChangingButtons;
  if (changing.buttons[place]) {
    gtk_widget_destroy(changing.buttons[place]);
  }
  changing.buttons[place] = gtk_button_new_with_label(large::changingName(++changing.next).c_str());
  gtk_grid_attach(GTK_GRID(changing.grid), changing.buttons[place], place % kAcross, place / kAcross, 1, 1);
  gtk_widget_show(changing.buttons[place]);
}

GtkWidget* makeChanging() {
  static Changing changing{gtk_grid_new()};
  GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  gtk_container_add(GTK_CONTAINER(box), gtk_button_new_with_label("Lasting"));
  gtk_container_add(GTK_CONTAINER(box), changing.grid);
  for (int i = 0; i < large::kChangingButtons; ++i) {
    replaceOne(changing);
  }
  g_timeout_add(
      large::kChangeInterval,
      [](gpointer data) -> gboolean {
        replaceOne(*static_cast<Changing*>(data));
        return G_SOURCE_CONTINUE;
      },
      &changing);
  return box;
}

GtkWidget* makePasswords() {
  GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  GtkWidget* plain = gtk_entry_new();
  gtk_entry_set_text(GTK_ENTRY(plain), large::kShownText);
  GtkWidget* secret = gtk_entry_new();
  gtk_entry_set_visibility(GTK_ENTRY(secret), FALSE);
  gtk_entry_set_text(GTK_ENTRY(secret), large::kSecret);
  for (GtkWidget* child : std::array{gtk_label_new("Password:"), plain, secret}) {
    gtk_container_add(GTK_CONTAINER(box), child);
  }
  return box;
}

gboolean drawn(GtkWidget*, cairo_t*, gpointer) {
  static bool reported = false;
  if (!reported) {
    reported = true;
    std::puts("ready");
    std::fflush(stdout);
  }
  return FALSE;
}

GtkWidget* makeContent(const std::string& kind) {
  return kind == "table"      ? makeTable()
         : kind == "text"     ? makeText()
         : kind == "changing" ? makeChanging()
                              : makePasswords();
}

}  // namespace

int main(int argc, char** argv) {
  gtk_init(&argc, &argv);
  if (argc != 2) {
    return 2;
  }
  GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_title(GTK_WINDOW(window), "Large");
  gtk_window_set_default_size(GTK_WINDOW(window), large::kPixelsOfWindow, large::kPixelsOfWindow);
  gtk_container_add(GTK_CONTAINER(window), makeContent(argv[1]));
  g_signal_connect(window, "destroy", G_CALLBACK(gtk_main_quit), nullptr);
  g_signal_connect_after(window, "draw", G_CALLBACK(drawn), nullptr);
  gtk_widget_show_all(window);
  gtk_main();
  return 0;
}
