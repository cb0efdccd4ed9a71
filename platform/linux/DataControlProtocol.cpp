#include "platform/linux/DataControlProtocol.h"

namespace DataControl {

namespace {

// One place per argument: the interface of an object, nothing for other values.
const wl_interface* plain[] = {nullptr, nullptr};
const wl_interface* newSource[] = {&source};
const wl_interface* newDeviceOfSeat[] = {&device, &wl_seat_interface};
const wl_interface* anySource[] = {&source};
const wl_interface* anyOffer[] = {&offer};

const wl_message managerRequests[] = {
    {"create_data_source", "n", newSource},
    {"get_data_device", "no", newDeviceOfSeat},
    {"destroy", "", plain},
};
const wl_message deviceRequests[] = {
    {"set_selection", "?o", anySource},
    {"destroy", "", plain},
    {"set_primary_selection", "?o", anySource},
};
const wl_message deviceEvents[] = {
    {"data_offer", "n", anyOffer},
    {"selection", "?o", anyOffer},
    {"finished", "", plain},
    {"primary_selection", "?o", anyOffer},
};
const wl_message sourceRequests[] = {{"offer", "s", plain}, {"destroy", "", plain}};
const wl_message sourceEvents[] = {{"send", "sh", plain}, {"cancelled", "", plain}};
const wl_message offerRequests[] = {{"receive", "sh", plain}, {"destroy", "", plain}};
const wl_message offerEvents[] = {{"offer", "s", plain}};

} // namespace

const wl_interface manager{"data_control_manager", version, 3, managerRequests, 0, nullptr};
const wl_interface device{"data_control_device", version, 3, deviceRequests, 4, deviceEvents};
const wl_interface source{"data_control_source", version, 2, sourceRequests, 2, sourceEvents};
const wl_interface offer{"data_control_offer", version, 2, offerRequests, 1, offerEvents};

} // namespace DataControl
