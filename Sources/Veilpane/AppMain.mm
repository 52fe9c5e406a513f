#include "Veilpane/AppMain.h"

#import "Veilpane/AppDelegate.h"

AppMain AppMain::shared;
