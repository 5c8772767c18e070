// The devices kivcp-printer-app lists and prints to: usb:, socket: and
// file: ones. Listing them needs no DNS-SD daemon: on a machine without
// avahi, "devices" and the web interface's Add Printer page still work and
// the server stays up.
#include <gtest/gtest.h>

#include <string>

#include "AppServer.h"

namespace {

using kvapptest::AppServer;

TEST(AppDevices, DevicesCommandListsNoDnsSdDeviceAndEndsNormally)
{
    AppServer server;
    ASSERT_TRUE(server.Running()) << server.Log();
    const kvtool::CommandResult r = server.Command({"devices"});
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.find("dnssd://"), std::string::npos) << r.out;
}

TEST(AppDevices, AddPrinterPageOffersNetworkPrintersAndTheServerStaysUp)
{
    AppServer server;
    ASSERT_TRUE(server.Running()) << server.Log();
    const AppServer::WebPage page = server.GetPage("/addprinter");
    EXPECT_EQ(page.status, 200);
    EXPECT_NE(page.body.find("<option value=\"socket\">Network Printer</option>"), std::string::npos) << page.body;
    EXPECT_EQ(page.body.find("dnssd://"), std::string::npos);
    // The device listing ran in the server: it still answers and works.
    EXPECT_EQ(server.GetPage("/addprinter").status, 200) << server.Log();
    EXPECT_TRUE(server.AddPrinter("label", "kivcp_epl2_203dpi_4in")) << server.LastError();
}

}  // namespace
