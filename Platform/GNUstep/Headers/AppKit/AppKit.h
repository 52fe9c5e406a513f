// GNUstep's AppKit, with the declarations of Apple's that it lacks.
#pragma once
#pragma clang system_header

// GNUstep's beep is an inline function, so nothing could stand in for it.
#define NSBeep GSInlineBeep
#include_next <AppKit/AppKit.h>
#undef NSBeep

extern "C" void NSBeep(void);

#define NSAlertStyleWarning NSWarningAlertStyle
#define NSAlertStyleInformational NSInformationalAlertStyle
#define NSAlertStyleCritical NSCriticalAlertStyle
#define NSEventModifierFlagCapsLock NSAlphaShiftKeyMask
#define NSEventModifierFlagCommand NSCommandKeyMask
#define NSEventModifierFlagControl NSControlKeyMask
#define NSEventModifierFlagOption NSAlternateKeyMask
#define NSEventModifierFlagShift NSShiftKeyMask
#define NSEventTypeKeyDown NSKeyDown
#define NSLineCapStyleButt NSButtLineCapStyle
#define NSLineCapStyleRound NSRoundLineCapStyle
#define NSLineCapStyleSquare NSSquareLineCapStyle

/// The size of a view without a natural one, in -intrinsicContentSize.
static const CGFloat NSViewNoIntrinsicMetric = -1;

@interface NSApplication (ActivationPolicy)
/// Accessory applications have no icon of their own on the screen.
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy;
- (NSApplicationActivationPolicy)activationPolicy;
@end

@interface NSStatusItem (Button)
/// What is seen of the item in the status bar.
@property (readonly, strong) NSStatusBarButton* button;
@end

@interface NSMenu (Items)
- (void)removeAllItems;
/// Closes the menu if it is open: tracking ends at once, the menu's window goes when whoever
/// handles an event now is done.
- (void)cancelTracking;
/// The same, and the window is gone at once.
- (void)cancelTrackingWithoutAnimation;
@end

@interface NSMenu (KeyEquivalents)
/// Chooses the enabled item that the key is the equivalent of; NO if there is none. A delegate that
/// answers menuHasKeyEquivalent:forEvent:target:action: is asked in its place; any other gets
/// menuNeedsUpdate: first, whether the menu is open or closed. An open menu gets this message
/// for every key that is pressed together with Command; with no menu open the status items' menus
/// get it.
- (BOOL)performKeyEquivalent:(NSEvent*)event;
@end

@interface NSMenuItem (View)
/// Drawn instead of the title, in a row of its size. It gets the mouse; a click sends no action of
/// the item's.
@property (strong) NSView* view;
@end

@interface NSScreen (LocalizedName)
@property (readonly, copy) NSString* localizedName;
@end

@interface NSView (LayoutAnchors)
@property (readonly, strong) NSLayoutXAxisAnchor* leadingAnchor;
@property (readonly, strong) NSLayoutXAxisAnchor* trailingAnchor;
@property (readonly, strong) NSLayoutXAxisAnchor* leftAnchor;
@property (readonly, strong) NSLayoutXAxisAnchor* rightAnchor;
@property (readonly, strong) NSLayoutXAxisAnchor* centerXAnchor;
@property (readonly, strong) NSLayoutYAxisAnchor* topAnchor;
@property (readonly, strong) NSLayoutYAxisAnchor* bottomAnchor;
@property (readonly, strong) NSLayoutYAxisAnchor* centerYAnchor;
@property (readonly, strong) NSLayoutDimension* widthAnchor;
@property (readonly, strong) NSLayoutDimension* heightAnchor;
@end

@interface NSView (AutoLayout)
/// While it is on, the default, a subview keeps the frame that it was given.
@property BOOL translatesAutoresizingMaskIntoConstraints;
/// The constraints that are installed on this view, in the order in which they were activated.
@property (readonly, copy) NSArray* constraints;
@property (readonly) NSSize intrinsicContentSize;
/// The smallest size that satisfies the constraints.
@property (readonly) NSSize fittingSize;

/// How strongly the view resists being made smaller than its natural size; 750 unless set.
- (NSLayoutPriority)contentCompressionResistancePriorityForOrientation:
    (NSLayoutConstraintOrientation)orientation;
- (void)setContentCompressionResistancePriority:(NSLayoutPriority)priority
                                 forOrientation:(NSLayoutConstraintOrientation)orientation;

- (void)addConstraint:(NSLayoutConstraint*)constraint;
- (void)removeConstraint:(NSLayoutConstraint*)constraint;
/// Gives this view and those in it the frames that their constraints ask for.
- (void)layoutSubtreeIfNeeded;
@end

@interface NSLayoutConstraint (Priority)
/// Must be set before the constraint is activated.
- (void)setPriority:(NSLayoutPriority)priority;
@end

@interface NSGestureRecognizer (TargetAndAction)
- (instancetype)initWithTarget:(id)target action:(SEL)action;
/// Not retained.
@property (assign) id target;
@property SEL action;
/// nil as long as no view has it.
@property (readonly) NSView* view;
@end

/// In the window of a menu or an alert, a click recognizer sends its action when the mouse's button
/// is let go over the view in which it was pressed, in place of the mouse events. A control that
/// has an action gets its clicks itself.
@interface NSView (GestureRecognizers)
@property (readonly, copy) NSArray* gestureRecognizers;
- (void)addGestureRecognizer:(NSGestureRecognizer*)recognizer;
- (void)removeGestureRecognizer:(NSGestureRecognizer*)recognizer;
@end

@interface NSWindow (Termination)
/// Whether terminate: does nothing while the window is modal; YES unless set.
@property BOOL preventsApplicationTerminationWhenModal;
@end

@interface NSWindow (KeyLook)
/// Whether its controls are drawn as those of the key window.
@property (readonly) BOOL looksKey;
@end

@interface NSObject (RestorableState)
- (BOOL)applicationSupportsSecureRestorableState:(NSApplication*)application;
@end

@interface NSControl (Sizes)
@property NSControlSize controlSize;
@property NSLineBreakMode lineBreakMode;
@end

@interface NSView (Accessibility)
/// What a screen reader calls the view; nil unless set.
@property (copy) NSString* accessibilityLabel;
/// Whether a screen reader finds the view at all: controls, but no plain view.
- (BOOL)isAccessibilityElement;
@end

@interface NSTextField (Labels)
/// One line of text that can be neither edited nor selected.
+ (instancetype)labelWithString:(NSString*)text;
@end

@interface NSImageView (Tint)
/// Template images are drawn in this colour.
@property (copy) NSColor* contentTintColor;
@end

@interface NSImage (DrawingAndSymbols)
/// An image that `drawingHandler` draws each time, in its own coordinates.
+ (NSImage*)imageWithSize:(NSSize)size
                  flipped:(BOOL)isFlipped
           drawingHandler:(BOOL (^)(NSRect))drawingHandler;
/// One of the system's symbols, a template image; nil if there is none of that name.
+ (NSImage*)imageWithSystemSymbolName:(NSString*)name
             accessibilityDescription:(NSString*)description;
/// Only the shape of a template image counts; whoever shows it chooses the colour.
- (BOOL)isTemplate;
- (void)setTemplate:(BOOL)isTemplate;
@end

@interface NSFont (Weights)
+ (NSFont*)systemFontOfSize:(CGFloat)size weight:(NSFontWeight)weight;
@end
