// The commands that start captures and tune the adapter: each settles network, channel and first-capture notice in its
// own order, and then starts the capture or does nothing.
//
// A command that stops after it has changed the adapter puts it back: nothing but a running capture keeps an adapter
// from its network. While a command waits for the user's answer, other commands do nothing. Main thread.
#pragma once

#include "wifi/CWChannel.h"
#include "wifi/WiFiSurroundings.h"

#include <optional>
#include <vector>

namespace vantrel {

class AdapterRestore;
class Association;
class CWInterface;
class SettingsStore;

class CaptureCommands {
public:
    // All of it is borrowed and outlives this object.
    struct Surroundings {
        const SettingsStore& settings;
        CWInterface& airport;
        const CaptureFlags& flags;
        AdapterRestore& restore;
        Association& association;
        WiFiDialogs& dialogs;
        CaptureStarter& starter;
        WiFiView& view;
    };

    explicit CaptureCommands(const Surroundings& surroundings) : _around(surroundings) {}

    // Captures on the current channel. With "AlwaysDisconnect" the adapter leaves its network first, unasked; without,
    // it stays in it.
    void onCapture();
    // Captures on this channel; a channel other than the current one needs the adapter out of its network.
    void onCaptureOther(const CWChannel& channel);
    // Capture hopping across bands.
    void onCaptureAll2Dot4GHz();
    void onCaptureAll5GHz();
    void onCaptureAll();
    // Captures hopping across the channels that the user chooses in the panel.
    void onCaptureCustom(CustomChannelsPanel& panel);
    // As last chosen in a panel.
    [[nodiscard]] const std::vector<int>& customChannels() const { return _customChannels; }

    // Tunes for a capture; answers whether it worked. If not, the user is told, and a reconnection that is due happens.
    [[nodiscard]] bool setCaptureChannel(const CWChannel& channel);

    // Tune to another number at the current width, or to another width (its code) at the current number; where that
    // pair cannot be had, to that number at any width. Failures are logged at most. Nothing happens when the chosen
    // entry is the one that is checked already.
    void onChannel(int channelNumber, bool alreadyChecked);
    void onChannelWidth(int widthCode, bool alreadyChecked);

private:
    class Turn;

    void captureAll(CaptureMode mode);
    void startHopping(CaptureMode mode);
    [[nodiscard]] bool takeChannel(const CWChannel& channel);
    [[nodiscard]] bool leaveNetworkUnasked(const std::optional<CWChannel>& channel);
    [[nodiscard]] bool tuneOrForget(const CWChannel& channel);
    void start(CaptureMode mode);
    void putBack();
    template <typename Wanted>
    void tuneFromMenu(bool alreadyChecked, Wanted wanted);
    [[nodiscard]] bool freeForTuning();
    [[nodiscard]] bool tuneTo(int channelNumber, int widthCode);

    const Surroundings _around;
    std::vector<int> _customChannels;
    bool _busy = false; // a command runs, perhaps waiting for an answer
};

} // namespace vantrel
