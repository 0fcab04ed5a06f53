// SPDX-License-Identifier: GPL-2.0-or-later
#include "sampleDlg.hh"

#include "cui/messageDlgs.hh"
#include "labelledRow.hh"
#include "lui/help.hh"

namespace gallery {

SampleDlg::SampleDlg(Glib::ustring const& title) : addressEntry(lui::IPEntry::ADDRESS)
{
   set_title(title);
   grid.set_row_spacing(6);
   grid.set_column_spacing(12);
   AddRow(grid, 0, "_Address:", addressEntry);
   AddRow(grid, 1, "_Note:", noteEntry);
   SetContent(grid, 12);
   SetButtons({"Save", "Cancel", "Help"}, 1, 0);
   noteEntry.signal_changed().connect(sigc::mem_fun(*this, &SampleDlg::OnNoteChanged));
   replied.connect(sigc::mem_fun(*this, &SampleDlg::OnReplied));
   OnNoteChanged();
}

void SampleDlg::OnNoteChanged()
{
   SetResponseSensitive(0, noteEntry.get_text_length() > 0);
}

cui::Dlg::RepliedAction SampleDlg::OnReplied()
{
   switch (GetChoice()) {
   case 0:
      if (addressEntry.GetIP().empty()) {
         MakeAbortSlot("%s")(false, cui::Error("The address must not be blank."));
         return KEEP_OPEN;
      }
      return CLOSE;
   case 2:
      lui::Utils::OpenHelp(GetDlgMgr(), "IDH_TVNET_MAPPORT");
      return KEEP_OPEN;
   default:
      return CLOSE;
   }
}

} // namespace gallery
