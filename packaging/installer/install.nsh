; Installation, also over an earlier version.

; An earlier version removes its own files, so that none remains that this version no longer has.
Function RemoveEarlierFiles
  ${If} ${FileExists} "$INSTDIR\uninstall.exe"
    ExecWait '"$INSTDIR\uninstall.exe" /S /UPGRADE _?=$INSTDIR'
  ${EndIf}
FunctionEnd

; For the list of programs in Windows.
Function Register
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayName" "${PRODUCT}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\${PROGRAM}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "Publisher" "Orvo"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKLM "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKLM "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "NoRepair" 1
  ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" "EstimatedSize" $0
FunctionEnd

; The driver in the spooler may be older than the package that came with the files, and also after an uninstallation that
; left the printers. Without a newer package this does nothing.
Function UpdateDriver
  ExecWait '"$INSTDIR\${DRIVER_UPDATE}" /update' $0
  ${If} $0 != 0
    MessageBox MB_OK|MB_ICONEXCLAMATION "$(TEXT_DRIVER_NOT_UPDATED)" /SD IDOK
  ${EndIf}
FunctionEnd

; The working folder is the installation folder: the program opens its records by their bare name.
Function StartProgram
  SetOutPath "$INSTDIR"
  Exec '"$INSTDIR\${PROGRAM}"'
FunctionEnd

Section "$(TEXT_PROGRAM)" SECTION_PROGRAM
  SectionIn RO
  ${CloseProgram}
  Call RemoveEarlierFiles
  ClearErrors
  !insertmacro InstallShipped
  CreateDirectory "$INSTDIR\logs"
  CreateDirectory "$INSTDIR\details"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  ${If} ${Errors}
    ${EndWith} ${EXIT_NOT_WRITTEN} "$(TEXT_NOT_WRITTEN)"
  ${EndIf}
  ; A shortcut's working folder is the one set last.
  SetOutPath "$INSTDIR"
  CreateShortcut "${SHORTCUT}" "$INSTDIR\${PROGRAM}"
  CreateShortcut "${DRIVER_UPDATE_SHORTCUT}" "$INSTDIR\${DRIVER_UPDATE}"
  Call Register
  Call UpdateDriver
SectionEnd

Section "$(TEXT_LOGON)" SECTION_LOGON
  ${ScheduleLogonStart}
  ${If} $0 != "0"
    MessageBox MB_OK|MB_ICONEXCLAMATION "$(TEXT_LOGON_FAILED)" /SD IDOK
  ${EndIf}
SectionEnd

!insertmacro MUI_FUNCTION_DESCRIPTION_BEGIN
  !insertmacro MUI_DESCRIPTION_TEXT ${SECTION_PROGRAM} "$(TEXT_PROGRAM_HINT)"
  !insertmacro MUI_DESCRIPTION_TEXT ${SECTION_LOGON} "$(TEXT_LOGON_HINT)"
!insertmacro MUI_FUNCTION_DESCRIPTION_END

Function .onInit
  SetShellVarContext all
  ${RequireAdministrator}
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/NOLOGON" $1
  ${IfNot} ${Errors}
    !insertmacro UnselectSection ${SECTION_LOGON}
  ${EndIf}
FunctionEnd
