// A device's state as it stands in its report, and how commands change it.
#pragma once

#include "simulator/device_plan.h"
#include "simulator/random_source.h"

#include <QJsonObject>

namespace simulator {

// The whole report of a device that has just been set up: the envelope of a report, a believable
// value for every property of its product, and what else a device tells. Only the address is left
// to set_state_address.
QJsonObject make_device_state(const DevicePlan &plan, RandomSource &random);

// Writes an IPv4 address (host order) into "net".
void set_state_address(QJsonObject &state, uint32_t address);

// Stores the members of `changes` in `target`, going down where both sides hold an object.
void merge_members(QJsonObject &target, const QJsonObject &changes);

// Carries out a "set_params": what check_params takes is stored. A product can be chosen only while
// there is none; the state is then made anew for it, keeping names and network. Returns why the
// device refuses the command; then nothing of it is stored.
QString apply_set_params(QJsonObject &state, const QJsonObject &command, RandomSource &random);

// The module type of a product, which its firmware images carry.
uint32_t usual_fw_magic(int32_t product_id);

} // namespace simulator
