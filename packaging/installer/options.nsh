; Names, places and pages.

!define PRODUCT "Orvo Cloud Printer Manager"
!define PROGRAM "OrvoCloudManager.exe"
!define SHORTCUT "$SMPROGRAMS\Orvo云驱动管家.lnk"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\OrvoCloudManager"

!define EXIT_NOT_WRITTEN 2
!define EXIT_STILL_RUNNING 3
!define EXIT_NO_ADMINISTRATOR 4

Name "$(TEXT_PRODUCT)"
BrandingText "${PRODUCT} ${VERSION}"
OutFile "${SETUP}"
RequestExecutionLevel admin
InstallDir "$PROGRAMFILES64\OrvoCloudManager"
InstallDirRegKey HKLM "${UNINSTALL_KEY}" "InstallLocation"
SetCompressor /SOLID lzma
; A file that cannot be written ends a silent installation instead of being left out.
AllowSkipFiles off
ManifestDPIAware true
ShowInstDetails nevershow
ShowUninstDetails nevershow

VIProductVersion "${VERSION}"
VIAddVersionKey "ProductName" "${PRODUCT}"
VIAddVersionKey "FileDescription" "${PRODUCT} setup"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "CompanyName" "Orvo"
VIAddVersionKey "LegalCopyright" "Orvo"

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_WELCOMEFINISHPAGE_BITMAP "${NSISDIR}\Contrib\Graphics\Wizard\nsis3-grey.bmp"
!define MUI_ABORTWARNING
; The installer's own rights are the program's.
!define MUI_FINISHPAGE_RUN
!define MUI_FINISHPAGE_RUN_FUNCTION StartProgram

!insertmacro MUI_PAGE_WELCOME
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES

; The first is what other languages, and silent runs, fall back to.
!insertmacro MUI_LANGUAGE "SimpChinese"
!insertmacro MUI_LANGUAGE "English"
