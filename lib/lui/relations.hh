// SPDX-License-Identifier: GPL-2.0-or-later
// What assistive tools are told about how widgets belong together. Both widgets know of it.
#pragma once

namespace Gtk {
class Widget;
} // namespace Gtk

namespace lui::Utils {

// The label names the widget. GTK tells that by itself of a label with a mnemonic widget.
void SetLabelledBy(Gtk::Widget& widget, Gtk::Widget& label);

// The text tells more about the widget.
void SetDescribedBy(Gtk::Widget& widget, Gtk::Widget& text);

} // namespace lui::Utils
