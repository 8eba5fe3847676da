#include "tessel/DisplayMessages.h"

#include "wire/ContextRequest.h"
#include "wire/ControlMessages.h"
#include "wire/MessageHeader.h"
#include "wire/TransmitHeader.h"

namespace tessel {

void DefaultH264ContextRequestMsg(H264ContextRequestMsg& message) {
  message = ContextRequest::withoutSize();
}

void SetH264ContextRequestMsgResolution(H264ContextRequestMsg& message, std::uint32_t width,
                                        std::uint32_t height, std::uint32_t bitsPerPixel) {
  ContextRequest{width, height, bitsPerPixel}.putSize(message);
}

void DefaultSimpleControlMsg(SimpleControlMsg& message) {
  message = controlMessage(VSCH_CMD_SIMPLE_CONTROL);
}

void DefaultSimpleTransmitMsg(SimpleTransmitMsg& message) { message = TransmitHeader::empty(); }

DestroyContextMsg DefaultDestroyContextMsg() { return contextMessage(VSCH_CMD_DESTROY_CONTEXT); }

}  // namespace tessel
