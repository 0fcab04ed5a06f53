// SPDX-License-Identifier: GPL-2.0-or-later
#include "gallery.hh"

#include "cui/messageDlgs.hh"
#include "labelledRow.hh"
#include "lui/checkBox.hh"
#include "lui/help.hh"
#include "lui/toggleButtons.hh"

#include <gtkmm/stock.h>

namespace gallery {

namespace {

constexpr int DIALOG_COLUMNS = 3;
constexpr char SENTENCE[] = "The networking database is in use by another program. ";

utf::string Repeat(char const* text, int count)
{
   Glib::ustring repeated;
   for (int turn = 0; turn < count; ++turn) {
      repeated += text;
   }
   return repeated;
}

} // namespace

Gallery::Gallery()
   : columns(false, 24), left(false, 18), right(false, 18), buttonFrame("Buttons"),
     plainButton("_Plain..."), iconButton(Gtk::Stock::ADD, "With _Icon", true),
     bareButton(Gtk::Stock::ADD, "Without I_con", false),
     insensitiveButton(Gtk::Stock::REMOVE, "I_nsensitive", true), addressFrame("_Addresses"),
     blankEntry(lui::IPEntry::ADDRESS), fullEntry(lui::IPEntry::ADDRESS),
     partialEntry(lui::IPEntry::ADDRESS), insensitiveEntry(lui::IPEntry::ADDRESS),
     checkFrame("Check Buttons"), radioFrame("Radio Buttons"), iconFrame("Icons and Texts"),
     dialogFrame("Dialogs")
{
   set_title("Gallery");
   AddButtons();
   AddAddresses();
   AddChecks();
   AddRadios();
   AddIcons();
   AddDialogs();
   for (Gtk::VBox* const column : {&left, &right}) {
      columns.pack_start(*column, Gtk::PACK_EXPAND_WIDGET);
      column->show();
   }
   SetContent(columns, 12);
   SetButtons({"Close", "Help"}, 0, 0);
   replied.connect(sigc::mem_fun(*this, &Gallery::OnReplied));
}

cui::Dlg::RepliedAction Gallery::OnReplied()
{
   if (GetChoice() == 0) {
      return CLOSE;
   }
   lui::Utils::OpenHelp(GetDlgMgr(), "IDH_TVNET_LIN_MAIN");
   return KEEP_OPEN;
}

void Gallery::AddButtons()
{
   auto& row = *Gtk::manage(new Gtk::HBox(false, 6));
   for (lui::Button* const button : {&plainButton, &iconButton, &bareButton, &insensitiveButton}) {
      row.pack_start(*button, Gtk::PACK_SHRINK);
      button->show();
   }
   insensitiveButton.set_sensitive(false);
   row.show();
   buttonFrame.Add(row);
   left.pack_start(buttonFrame, Gtk::PACK_SHRINK);
   buttonFrame.show();
}

void Gallery::AddAddresses()
{
   auto& grid = *Gtk::manage(new Gtk::Grid);
   grid.set_row_spacing(6);
   grid.set_column_spacing(12);
   fullEntry.SetIP("192.168.100.254");
   partialEntry.SetIP("192..7.");
   insensitiveEntry.SetIP("10.0.0.1");
   insensitiveEntry.set_sensitive(false);
   AddRow(grid, 0, "_Blank:", blankEntry);
   AddRow(grid, 1, "_Full:", fullEntry);
   AddRow(grid, 2, "Par_tial:", partialEntry);
   AddRow(grid, 3, "Insensitive address:", insensitiveEntry);
   grid.show();
   addressFrame.Add(grid);
   addressFrame.SetMnemonicWidget(blankEntry);
   left.pack_start(addressFrame, Gtk::PACK_SHRINK);
   addressFrame.show();
}

void Gallery::AddChecks()
{
   auto& rows = *Gtk::manage(new Gtk::VBox(false, 6));
   lui::CheckBox* const off = lui::Utils::BuildCheckButton(offCheck, rows, "_Off at first", "",
                                                           Gtk::PACK_SHRINK, false, "");
   lui::CheckBox* const on =
      lui::Utils::BuildCheckButton(onCheck, rows, "O_n at first", "With a line of explanation",
                                   Gtk::PACK_SHRINK, true, "A hint on hovering");
   offEntry.set_text("Below a check button that is off");
   onEntry.set_text("Below a check button that is on");
   offEntry.show();
   onEntry.show();
   off->AddChild(offEntry, nullptr);
   on->AddChild(onEntry, nullptr);
   rows.show();
   checkFrame.Add(rows);
   left.pack_start(checkFrame, Gtk::PACK_SHRINK);
   checkFrame.show();
}

void Gallery::AddRadios()
{
   auto& rows = *Gtk::manage(new Gtk::VBox(false, 6));
   Gtk::RadioButtonGroup group;
   lui::Utils::BuildRadioButton(describedRadio, group, rows, "_Described",
                                "Virtual machines connect directly to your external network",
                                Gtk::PACK_SHRINK);
   heldEntry.set_text("Follows its radio button");
   heldEntry.show();
   lui::Utils::BuildRadioButton(holdingRadio, group, rows, "_With a widget", &heldEntry,
                                Gtk::PACK_SHRINK);
   lui::Utils::BuildRadioButton(plainRadio, group, rows, "Plai_n radio", "", Gtk::PACK_SHRINK);
   rows.show();
   radioFrame.Add(rows);
   right.pack_start(radioFrame, Gtk::PACK_SHRINK);
   radioFrame.show();
}

void Gallery::AddIcons()
{
   auto& rows = *Gtk::manage(new Gtk::VBox(false, 6));
   infoBox.SetStockId(Gtk::Stock::DIALOG_INFO);
   infoBox.SetMarkup("A short text");
   warningBox.SetStockId(Gtk::Stock::DIALOG_WARNING);
   warningBox.SetMarkup("<b>A long text</b> with mark-up, which wraps when there is no room left "
                        "for it in a single line of the window");
   for (lui::IconLabelBox* const box : {&infoBox, &warningBox}) {
      rows.pack_start(*box, Gtk::PACK_SHRINK);
      box->show();
   }
   rows.show();
   iconFrame.Add(rows);
   right.pack_start(iconFrame, Gtk::PACK_SHRINK);
   iconFrame.show();
}

void Gallery::AddDialogs()
{
   dialogGrid.set_row_spacing(6);
   dialogGrid.set_column_spacing(6);
   AddDialog("Error...", [this] { NewError("<b>Not</b> saved & lost.", "", true)->Show(); });
   AddDialog("Long Error...", [this] { NewError(Repeat(SENTENCE, 60), "", true)->Show(); });
   AddDialog("Two Texts...",
             [this] { NewError("The network can't be saved.", SENTENCE, true)->Show(); });
   AddDialog("Warning...", [this] { NewWarning("The adapter is gone.", "")->Show(); });
   AddDialog("Information...", [this] { NewInfo("All networks are saved.", "")->Show(); });
   AddDialog("Hint...", [this] { NewHint("Networks have names.", SENTENCE, false)->Show(); });
   AddDialog("Question...", [this] { AskQuestion(); });
   AddDialog("Silenceable...", [this] { AskSilenceableQuestion(); });
   AddDialog("Sample...", [this] { OpenSample(); });
   AddDialog("Help Page...", [this] { lui::Utils::OpenHelp(GetDlgMgr(), "IDH_TVNET_NAT"); });
   AddDialog("Unknown Help...", [this] { lui::Utils::OpenHelp(GetDlgMgr(), "IDH_NOTHING"); });
   dialogGrid.show();
   dialogFrame.Add(dialogGrid);
   statusLabel.set_halign(Gtk::ALIGN_START);
   Report("No answer yet");
   statusLabel.show();
   dialogFrame.pack_start(statusLabel, Gtk::PACK_SHRINK);
   right.pack_start(dialogFrame, Gtk::PACK_SHRINK);
   dialogFrame.show();
}

void Gallery::AddDialog(Glib::ustring const& label, std::function<void()> const& open)
{
   auto& button = *Gtk::manage(new lui::Button(label));
   button.signal_clicked().connect(open);
   dialogGrid.attach(button, dialogCount % DIALOG_COLUMNS, dialogCount / DIALOG_COLUMNS, 1, 1);
   button.show();
   ++dialogCount;
}

void Gallery::AskQuestion()
{
   cui::DlgQuestion* const question =
      NewQuestion("Remove the network?", {"_Remove", "_Keep"}, 1, 1,
                  "Virtual machines that are set up for it lose their connection.",
                  cui::severity::WARNING, true);
   question->replied.connect([this, question] {
      Report(utf::string("Answer ") + utf::IntToStr(question->GetAnswer()));
      return CLOSE;
   });
   question->Show();
}

void Gallery::AskSilenceableQuestion()
{
   cui::DlgSQuestion* const question =
      NewSQuestion("Save the networks now?", {"_Save", "_Later"}, 1, 0, "", true);
   question->replied.connect([this, question] {
      Report(question->IsSilenced() ? "Silenced" : "Not silenced");
      return CLOSE;
   });
   question->Show();
}

void Gallery::OpenSample()
{
   if (sampleDlg) {
      Present(sampleDlg.get());
      return;
   }
   sampleDlg = new SampleDlg("Sample");
   AddManagedDlg(sampleDlg.get());
}

void Gallery::Report(utf::string const& text)
{
   statusLabel.set_text(text);
}

} // namespace gallery
