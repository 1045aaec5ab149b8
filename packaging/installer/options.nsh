; Names, places and pages.

!define PRODUCT "Orvo Cloud Printer Manager"
!define PROGRAM "OrvoCloudManager.exe"
!define DRIVER_UPDATE "OrvoDriverUpdate.exe"
!define SHORTCUT "$SMPROGRAMS\Orvo云驱动管家.lnk"
!define DRIVER_UPDATE_SHORTCUT "$SMPROGRAMS\Orvo驱动更新.lnk"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\OrvoCloudManager"

!define EXIT_NOT_WRITTEN 2
!define EXIT_STILL_RUNNING 3
!define EXIT_NO_ADMINISTRATOR 4
!define EXIT_PRINTERS_LEFT 5

Name "$(TEXT_PRODUCT)"
BrandingText "${PRODUCT} ${VERSION}"
OutFile "${SETUP}"
RequestExecutionLevel admin
InstallDir "$PROGRAMFILES64\OrvoCloudManager"
InstallDirRegKey HKLM "${UNINSTALL_KEY}" "InstallLocation"
SetCompressor /SOLID lzma
; A silent installation fails on a file that cannot be written instead of leaving it out.
AllowSkipFiles off
ManifestDPIAware true
ShowInstDetails nevershow
ShowUninstDetails nevershow

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

; Describe LANGUAGE PRODUCT DESCRIPTION COPYRIGHT: what Windows shows in the properties of the installer.
!macro Describe language product description copyright
  VIAddVersionKey /LANG=${language} "ProductName" "${product}"
  VIAddVersionKey /LANG=${language} "FileDescription" "${description}"
  VIAddVersionKey /LANG=${language} "FileVersion" "${VERSION}"
  VIAddVersionKey /LANG=${language} "ProductVersion" "${VERSION}"
  VIAddVersionKey /LANG=${language} "CompanyName" "Orvo"
  VIAddVersionKey /LANG=${language} "LegalCopyright" "${copyright}"
!macroend
VIProductVersion "${VERSION}"
!insertmacro Describe ${LANG_SIMPCHINESE} "Orvo云驱动管家" "Orvo云驱动管家 安装程序" "版权所有 Orvo"
!insertmacro Describe ${LANG_ENGLISH} "${PRODUCT}" "${PRODUCT} setup" "Copyright Orvo"

!ifdef SIGN
  !uninstfinalize `${SIGN} "%1"` = 0
!endif
