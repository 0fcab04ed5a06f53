// SPDX-License-Identifier: GPL-2.0-or-later
// One window with each widget of the layer in each state, and a button for each dialog.
#pragma once

#include "lui/button.hh"
#include "lui/dlgChoice.hh"
#include "lui/frame.hh"
#include "lui/iconLabelBox.hh"
#include "lui/ipEntry.hh"
#include "sampleDlg.hh"

#include <functional>
#include <gtkmm/checkbutton.h>
#include <gtkmm/grid.h>
#include <gtkmm/radiobutton.h>

namespace gallery {

class Gallery : public virtual lui::DlgChoice {
public:
   Gallery();

private:
   cui::Dlg::RepliedAction OnReplied();

   void AddButtons();
   void AddAddresses();
   void AddChecks();
   void AddRadios();
   void AddIcons();
   void AddDialogs();
   void AddDialog(Glib::ustring const& label, std::function<void()> const& open);
   void AskQuestion();
   void AskSilenceableQuestion();
   void OpenSample();
   void Report(utf::string const& text);

   Gtk::HBox columns;
   Gtk::VBox left;
   Gtk::VBox right;
   lui::Frame buttonFrame;
   lui::Button plainButton;
   lui::Button iconButton;
   lui::Button bareButton;
   lui::Button insensitiveButton;
   lui::Frame addressFrame;
   lui::IPEntry blankEntry;
   lui::IPEntry fullEntry;
   lui::IPEntry partialEntry;
   lui::IPEntry insensitiveEntry;
   lui::Frame checkFrame;
   Gtk::CheckButton offCheck;
   Gtk::CheckButton onCheck;
   Gtk::Entry offEntry;
   Gtk::Entry onEntry;
   lui::Frame radioFrame;
   Gtk::RadioButton describedRadio;
   Gtk::RadioButton holdingRadio;
   Gtk::RadioButton plainRadio;
   Gtk::Entry heldEntry;
   lui::Frame iconFrame;
   lui::IconLabelBox infoBox;
   lui::IconLabelBox warningBox;
   lui::Frame dialogFrame;
   Gtk::Grid dialogGrid;
   int dialogCount = 0;
   Gtk::Label statusLabel;
   cui::WeakPtr<SampleDlg> sampleDlg;
};

} // namespace gallery
