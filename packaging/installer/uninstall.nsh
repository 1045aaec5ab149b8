; Uninstallation: uninstall.exe [/S] [/PRINTERS] [/UPGRADE]. With /UPGRADE, which the installer uses, only the program's
; files go. /PRINTERS removes the cloud printers, their driver and ports as well; if that fails, nothing is uninstalled, so
; that it can be repeated.

Function un.onInit
  SetShellVarContext all
  ${RequireAdministrator}
FunctionEnd

Function un.RemovePrinters
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/PRINTERS" $1
  ${If} ${Errors}
    MessageBox MB_YESNO|MB_ICONQUESTION|MB_DEFBUTTON2 "$(TEXT_REMOVE_PRINTERS)" /SD IDNO IDNO keep
  ${EndIf}
  ExecWait '"$INSTDIR\${DRIVER_UPDATE}" /remove' $0
  ${If} $0 != 0
    ${EndWith} ${EXIT_PRINTERS_LEFT} "$(TEXT_PRINTERS_LEFT)"
  ${EndIf}
keep:
FunctionEnd

; The files that the program wrote, by their names. A folder with any other file stays.
Function un.RemoveData
  Delete "$INSTDIR\task.db"
  Delete "$INSTDIR\logs\*.log"
  Delete "$INSTDIR\logs\removal.ini"
  Delete "$INSTDIR\details\*.txt"
FunctionEnd

Function un.Unregister
  ${RemoveLogonStart}
  Delete "${SHORTCUT}"
  Delete "${DRIVER_UPDATE_SHORTCUT}"
  DeleteRegKey HKLM "${UNINSTALL_KEY}"
  Delete "$INSTDIR\uninstall.exe"
  MessageBox MB_YESNO|MB_ICONQUESTION|MB_DEFBUTTON2 "$(TEXT_REMOVE_DATA)" /SD IDNO IDNO keep
  Call un.RemoveData
keep:
  ; RMDir leaves a folder that is not empty.
  RMDir "$INSTDIR\logs"
  RMDir "$INSTDIR\details"
  SetOutPath "$TEMP"
  RMDir "$INSTDIR"
FunctionEnd

Section Uninstall
  ${CloseProgram}
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/UPGRADE" $1
  ${If} ${Errors}
    Call un.RemovePrinters
    !insertmacro UninstallShipped
    Call un.Unregister
  ${Else}
    !insertmacro UninstallShipped
  ${EndIf}
SectionEnd
