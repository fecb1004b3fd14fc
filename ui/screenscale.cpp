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

void followScreenDensity()
{
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    if (density() < kDense)
        return;
    if (qgetenv("QT_SCALE_FACTOR").toDouble() > 0 ||
        qEnvironmentVariableIntValue("QT_DEVICE_PIXEL_RATIO") > 0) {
        // The person's factor stands for ours. The texts must not grow with the density as well,
        // or they are cut.
        if (!isSet("QT_FONT_DPI") && !isSet("QT_SCREEN_SCALE_FACTORS") &&
            !isSet("QT_AUTO_SCREEN_SCALE_FACTOR") && !isSet("QT_ENABLE_HIGHDPI_SCALING"))
            qputenv("QT_FONT_DPI", QByteArray::number(kUsual));
        return;
    }
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    // Rounded down the texts alone would grow, and be cut; rounded up the window would not fit the
    // usual screens.
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(
        Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
}
