#pragma once
#include <QString>

/// The closed vocabulary of analytics events: event names, property keys and the fixed words that
/// stand in for user data. Every event the application sends is spelled here and nowhere else.
namespace Analytics {

inline constexpr auto eventAppLaunched = "app_launched";
inline constexpr auto eventOnboardingCompleted = "onboarding_completed";
inline constexpr auto eventFixCompleted = "tembrel_completed";
inline constexpr auto eventFixFailed = "tembrel_failed";

inline constexpr auto keyCustomEndpointEnabled = "custom_endpoint_enabled";
inline constexpr auto keyHistoryEnabled = "history_enabled";
inline constexpr auto keyLaunchAtLogin = "launch_at_login";
inline constexpr auto keyGrantedAccessibility = "granted_accessibility";
inline constexpr auto keyEndpointType = "endpoint_type";
inline constexpr auto keyEditCount = "edit_count";
inline constexpr auto keyTextLengthBucket = "text_length_bucket";
inline constexpr auto keyHadChanges = "had_changes";
inline constexpr auto keyDurationMs = "duration_ms";
inline constexpr auto keyModeName = "mode_name";
inline constexpr auto keyErrorType = "error_type";
inline constexpr auto keyEnvironment = "environment";
inline constexpr auto keyPlatform = "platform";

/// The bucket word for a text of `characters` user-perceived characters ("tiny" … "very_long").
[[nodiscard]] QString textLengthBucket(qint64 characters);

/// The word for a failure category code: 0 "network" … 4 "processing", anything else "other".
[[nodiscard]] QString failureCategoryText(int code);

/// "cloud" or "custom", by whether the user's own endpoint served the fix.
[[nodiscard]] QString endpointType(bool customEndpoint);

/// The "platform" super property of this build: "linux" or "macos".
[[nodiscard]] QString platformName();

/// The "environment" super property.
[[nodiscard]] QString environmentName();

} // namespace Analytics
