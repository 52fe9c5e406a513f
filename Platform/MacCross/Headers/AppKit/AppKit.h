// The AppKit declarations that the program uses, for compiling it for macOS without the SDK.
#pragma once

#include <AppKit/NSAlert.h>
#include <AppKit/NSApplication.h>
#include <AppKit/NSBezierPath.h>
#include <AppKit/NSButton.h>
#include <AppKit/NSClickGestureRecognizer.h>
#include <AppKit/NSColor.h>
#include <AppKit/NSControl.h>
#include <AppKit/NSEvent.h>
#include <AppKit/NSFont.h>
#include <AppKit/NSGestureRecognizer.h>
#include <AppKit/NSGraphics.h>
#include <AppKit/NSImage.h>
#include <AppKit/NSImageView.h>
#include <AppKit/NSLayoutAnchor.h>
#include <AppKit/NSLayoutConstraint.h>
#include <AppKit/NSMenu.h>
#include <AppKit/NSMenuItem.h>
#include <AppKit/NSResponder.h>
#include <AppKit/NSScreen.h>
#include <AppKit/NSStatusBar.h>
#include <AppKit/NSSwitch.h>
#include <AppKit/NSTextField.h>
#include <AppKit/NSView.h>
#include <AppKit/NSWindow.h>
#include <Foundation/Foundation.h>
