; The start at logon: a scheduled task, since only the scheduler starts a program with an administrator's rights without
; asking. It is described in XML because the scheduler's command has no option for the working folder.

!define LOGON_TASK "OrvoCloudManager"

; ScheduleLogonStart: $0 is "0" when it succeeded.
!macro ScheduleLogonStart
  InitPluginsDir
  ; Of the characters that XML keeps for itself only this one may stand in a path.
  ${WordReplace} "$INSTDIR" "&" "&amp;" "+*" $1
  FileOpen $2 "$PLUGINSDIR\logontask.xml" w
  FileWriteUTF16LE /BOM $2 '<?xml version="1.0" encoding="UTF-16"?>$\r$\n'
  FileWriteUTF16LE $2 '<Task version="1.2" xmlns="http://schemas.microsoft.com/windows/2004/02/mit/task">$\r$\n'
  FileWriteUTF16LE $2 '<Triggers><LogonTrigger/></Triggers>$\r$\n'
  ; Whichever administrator logs on; others cannot start the program at all.
  FileWriteUTF16LE $2 '<Principals><Principal id="Administrators">'
  FileWriteUTF16LE $2 '<GroupId>S-1-5-32-544</GroupId><RunLevel>HighestAvailable</RunLevel>'
  FileWriteUTF16LE $2 '</Principal></Principals>$\r$\n'
  ; Each session has an instance of its own, which runs on battery and without an end.
  FileWriteUTF16LE $2 '<Settings><MultipleInstancesPolicy>Parallel</MultipleInstancesPolicy>'
  FileWriteUTF16LE $2 '<DisallowStartIfOnBatteries>false</DisallowStartIfOnBatteries>'
  FileWriteUTF16LE $2 '<StopIfGoingOnBatteries>false</StopIfGoingOnBatteries>'
  FileWriteUTF16LE $2 '<ExecutionTimeLimit>PT0S</ExecutionTimeLimit><Priority>5</Priority></Settings>$\r$\n'
  FileWriteUTF16LE $2 '<Actions Context="Administrators"><Exec><Command>$1\${PROGRAM}</Command>'
  FileWriteUTF16LE $2 '<WorkingDirectory>$1</WorkingDirectory></Exec></Actions>$\r$\n</Task>$\r$\n'
  FileClose $2
  nsExec::Exec '"$SYSDIR\schtasks.exe" /Create /F /TN "${LOGON_TASK}" /XML "$PLUGINSDIR\logontask.xml"'
  Pop $0
!macroend
!define ScheduleLogonStart "!insertmacro ScheduleLogonStart"

!macro RemoveLogonStart
  nsExec::Exec '"$SYSDIR\schtasks.exe" /Delete /F /TN "${LOGON_TASK}"'
  Pop $0
!macroend
!define RemoveLogonStart "!insertmacro RemoveLogonStart"
