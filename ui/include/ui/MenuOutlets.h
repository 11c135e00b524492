// The names of the menu's items: each is the object name of its QAction, and of its QMenu where it holds a submenu.
#pragma once

#include <QLatin1StringView>

namespace vantrel::ui::outlets {

inline constexpr QLatin1StringView statusItemMenu{"statusItemMenu"}; // the menu itself

inline constexpr QLatin1StringView statusMenuItem{"statusMenuItem"};
inline constexpr QLatin1StringView channelMenuItem{"channelMenuItem"};
inline constexpr QLatin1StringView channelWidthMenuItem{"channelWidthMenuItem"};
inline constexpr QLatin1StringView sepMenuItem1{"sepMenuItem1"};

inline constexpr QLatin1StringView channelSubmenuMenuItem{"channelSubmenuMenuItem"};
inline constexpr QLatin1StringView channelWidthSubmenuMenuItem{"channelWidthSubmenuMenuItem"};
inline constexpr QLatin1StringView linkLayerHeaderSubmenuMenuItem{"linkLayerHeaderSubmenuMenuItem"};
inline constexpr QLatin1StringView sepMenuItem2{"sepMenuItem2"};

inline constexpr QLatin1StringView singleChannelCaptureMenuItem{"singleChannelCaptureMenuItem"}; // a heading
inline constexpr QLatin1StringView captureMenuItem{"captureMenuItem"};
inline constexpr QLatin1StringView captureOther2Dot4GHzSubmenuItem{"captureOther2Dot4GHzSubmenuItem"};
inline constexpr QLatin1StringView captureOther5GHzSubmenuItem{"captureOther5GHzSubmenuItem"};
inline constexpr QLatin1StringView sepMenuItem3{"sepMenuItem3"};

inline constexpr QLatin1StringView multipleChannelCaptureMenuItem{"multipleChannelCaptureMenuItem"}; // a heading
inline constexpr QLatin1StringView captureAll2Dot4GHzMenuItem{"captureAll2Dot4GHzMenuItem"};
inline constexpr QLatin1StringView captureAll5GHzMenuItem{"captureAll5GHzMenuItem"};
inline constexpr QLatin1StringView captureAllMenuItem{"captureAllMenuItem"};
inline constexpr QLatin1StringView captureCustomMenuItem{"captureCustomMenuItem"};
inline constexpr QLatin1StringView sepMenuItem4{"sepMenuItem4"};

inline constexpr QLatin1StringView uploadCaptureSubmenuMenuItem{"uploadCaptureSubmenuMenuItem"};
inline constexpr QLatin1StringView uploadToCloudSharkMenuItem{"uploadToCloudSharkMenuItem"};
inline constexpr QLatin1StringView uploadToMojoPacketsMenuItem{"uploadToMojoPacketsMenuItem"};
inline constexpr QLatin1StringView configureServicesMenuItem{"configureServicesMenuItem"};
inline constexpr QLatin1StringView sepMenuItem5{"sepMenuItem5"};

inline constexpr QLatin1StringView disassociateMenuItem{"disassociateMenuItem"};
inline constexpr QLatin1StringView turnOnOffMenuItem{"turnOnOffMenuItem"};

inline constexpr QLatin1StringView preferencesMenuItem{"preferencesMenuItem"};
inline constexpr QLatin1StringView launchAtLoginMenuItem{"launchAtLoginMenuItem"};
inline constexpr QLatin1StringView helpMenuItem{"helpMenuItem"};
inline constexpr QLatin1StringView aboutMenuItem{"aboutMenuItem"};
inline constexpr QLatin1StringView quitMenuItem{"quitMenuItem"};

} // namespace vantrel::ui::outlets
