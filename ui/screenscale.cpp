#include "screenscale.h"

#include <QGuiApplication>

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace {

constexpr int kUsual = 96; // dots per inch at which all sizes are what they are called
constexpr std::uint32_t kMostResources = 0x10000; // in units of four bytes

bool isSet(const char *variable) { return !qEnvironmentVariableIsEmpty(variable); }

bool isSwitchedOff(const char *variable)
{
    bool isNumber = false;
    const int value = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber && value < 1;
}

// The toolkit counts its factor from it.
void tellToolkit(int density) { qputenv("QT_FONT_DPI", QByteArray::number(density)); }

// The person, or the desktop, counts by itself.
bool isFactorGiven()
{
    return isSet("QT_SCREEN_SCALE_FACTORS") || isSwitchedOff("QT_AUTO_SCREEN_SCALE_FACTOR") ||
        isSwitchedOff("QT_ENABLE_HIGHDPI_SCALING");
}

int densityOfDisplay()
{
    int number = 0;
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(nullptr, &number), xcb_disconnect);
    if (xcb_connection_has_error(connection.get()) != 0)
        return kUsual; // the application object will say so
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection.get()));
    for (; number > 0 && screens.rem > 1; --number)
        xcb_screen_next(&screens);
    const xcb_get_property_cookie_t asked =
        xcb_get_property(connection.get(), 0, screens.data->root, XCB_ATOM_RESOURCE_MANAGER,
                         XCB_ATOM_STRING, 0, kMostResources);
    const std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)> told(
        xcb_get_property_reply(connection.get(), asked, nullptr), std::free);
    QByteArray resources;
    if (told)
        resources = QByteArray(static_cast<const char *>(xcb_get_property_value(told.get())),
                               xcb_get_property_value_length(told.get()));
    return densityOf(resources, screens.data->width_in_pixels, screens.data->width_in_millimeters);
}

int density()
{
    const int chosen = qEnvironmentVariableIntValue("QT_FONT_DPI");
    if (chosen > 0)
        return chosen;
    return qgetenv("QT_QPA_PLATFORM").startsWith("xcb") ? densityOfDisplay() : kUsual;
}

} // namespace

int densityOf(const QByteArray &resources, int pixels, int millimetres)
{
    const QByteArray key("Xft.dpi:\t");
    for (const QByteArray &line : resources.split('\n')) {
        const int chosen = line.startsWith(key) ? line.mid(key.size()).toInt() : 0;
        if (chosen > 0)
            return chosen;
    }
    return millimetres > 0 ? qMax(kUsual, qRound(25.4 * pixels / millimetres)) : kUsual;
}

// Factors by which no window loses a row or a column: what has been scaled down to the toolkit's
// whole numbers and up again is not less than it was. (At 1.75 a side of 1014 becomes 1013. Screens
// that ask for 3 and more can be divided by it.)
int steppedDensity(int density)
{
    if (density < kDense)
        return density;
    if (density < kUsual * 3 / 2)
        return kDense;
    if (density < kUsual * 2)
        return kUsual * 3 / 2;
    return density / kUsual * kUsual;
}

void followScreenDensity()
{
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    const int found = density();
    if (found < kDense)
        return;
    const bool countsItself = isFactorGiven() || isSet("QT_FONT_DPI");
    if (qgetenv("QT_SCALE_FACTOR").toDouble() > 0 ||
        qEnvironmentVariableIntValue("QT_DEVICE_PIXEL_RATIO") > 0) {
        // The person's factor stands for ours. The texts must not grow with the density as well,
        // or they are cut.
        if (!countsItself && !isSet("QT_AUTO_SCREEN_SCALE_FACTOR") &&
            !isSet("QT_ENABLE_HIGHDPI_SCALING"))
            tellToolkit(kUsual);
        return;
    }
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    // The toolkit must not round to whole factors. Down, the texts alone would grow and be cut; up,
    // the window would not fit the usual screens.
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(
        Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    // Also keeps what a desktop tells later from a player that runs: its windows have their sizes.
    if (!countsItself)
        tellToolkit(steppedDensity(found));
}
