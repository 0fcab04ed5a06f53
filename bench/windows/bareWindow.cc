// SPDX-License-Identifier: GPL-2.0-or-later
// What any program with a list pays: a window with three rows.
#include <gtkmm.h>

namespace {

class Columns : public Gtk::TreeModelColumnRecord {
public:
   Columns()
   {
      add(name);
      add(kind);
   }
   Gtk::TreeModelColumn<Glib::ustring> name;
   Gtk::TreeModelColumn<Glib::ustring> kind;
};

} // namespace

int main(int argc, char** argv)
{
   Gtk::Main loop(argc, argv);
   Columns const columns;
   auto const rows = Gtk::ListStore::create(columns);
   for (auto const* name : {"one", "two", "three"}) {
      auto const row = *rows->append();
      row[columns.name] = name;
      row[columns.kind] = "row";
   }
   Gtk::TreeView view(rows);
   view.append_column("Name", columns.name);
   view.append_column("Kind", columns.kind);
   Gtk::ScrolledWindow scrolled;
   scrolled.add(view);
   Gtk::Window window;
   window.set_title("Bare window");
   window.set_default_size(600, 500);
   window.add(scrolled);
   window.show_all();
   Gtk::Main::run(window);
}
