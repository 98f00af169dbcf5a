#include "tests/unit/scpi_core/FakeDevice.h"

#include <cstdlib>
#include <iterator>
#include <memory>
#include <new>
#include <stdexcept>

#include "scpi_core/pcore.h"

namespace test {
namespace {

std::unique_ptr<World> world;

using Parameters = std::vector<sParamInfo>;

int Answer(void* device, const std::string& text) {
  static_cast<FakeDevice*>(device)->SendResponse(text.data(), static_cast<int>(text.size()));
  return 0;
}

int Idn(Parameters, bool, void* device, sComErrorInfo*) {
  return Answer(device, "fake");
}
int Long(Parameters, bool, void* device, sComErrorInfo*) {
  return Answer(device, "123456789");
}
int Big(Parameters, bool, void* device, sComErrorInfo*) {
  return Answer(device, std::string(CCharBuff::kCapacity + 1, 'x'));
}
int Wide(Parameters, bool, void* device, sComErrorInfo*) {
  return Answer(device, std::string(CCharBuff::kCapacity / 2, '#'));
}
int Hold(Parameters, bool, void* device, sComErrorInfo*) {
  static_cast<FakeDevice*>(device)->Hold();
  return 0;
}
int Boom(Parameters, bool, void*, sComErrorInfo*) {
  throw std::runtime_error("boom");
}
int Set(Parameters, bool, void*, sComErrorInfo*) {
  ++TheWorld().sets;
  return 0;
}

const sCommandTreeNode kRows[] = {
    {"idn", -1, 0, -1, false, 1, Idn, {kQueryForm, nullptr, 0}},
    {"long", -1, 0, 1, false, 1, Long, {kQueryForm, nullptr, 0}},
    {"big", -1, 0, 2, false, 1, Big, {kQueryForm, nullptr, 0}},
    {"hold", -1, 0, 3, false, 1, Hold, {kSetForm, nullptr, 0}},
    {"boom", -1, 0, 4, false, 1, Boom, {kBothForms, nullptr, 0}},
    {"set", -1, 0, 5, false, 1, Set, {kSetForm, nullptr, 0}},
    {"wide", -1, 0, 6, false, 1, Wide, {kQueryForm, nullptr, 0}},
};

}  // namespace

World& TheWorld() {
  return *world;
}

void ResetWorld() {
  world = std::make_unique<World>();
}

long FakeDevice::OpenConnection(const char* name, unsigned int) {
  address = name;
  ++TheWorld().opened;
  if (TheWorld().hold_open) Hold();
  return TheWorld().open_result;
}

long FakeDevice::CloseConnection() {
  ++TheWorld().closed;
  return 0;
}

int FakeDevice::RaiseError(int code, const char*) {
  ++TheWorld().errors;
  TheWorld().last_error = code;
  return 0;
}

void FakeDevice::Hold() {
  neosmart::SetEvent(TheWorld().entered);
  neosmart::neosmart_event_t events[] = {TheWorld().release, StopEvent()};
  int index = -1;
  neosmart::WaitForMultipleEvents(events, 2, false, neosmart::kInfinite, index);
  if (index == 1) TheWorld().stopped = true;
}

}  // namespace test

CGenericDevice* CreateDevice(CIOBuffer* io_buffer) {
  if (test::TheWorld().no_memory) throw std::bad_alloc();
  AddTreeLevel(0, test::kRows, std::size(test::kRows));
  return new test::FakeDevice(io_buffer);
}
