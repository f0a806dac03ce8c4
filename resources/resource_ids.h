/*
 * Identifiers of the resources built into VEXORA.DLL: the string table, the dialog
 * templates and their controls.
 *
 * Included by vexora.rc and by the print and printer-setup dialog code. It holds
 * preprocessor definitions only, so it compiles with or without <windows.h>, in C and C++.
 *
 * Several identifiers share a value on purpose: a number names a different control in
 * each template (121 is the document title in the print dialog and the page text in the
 * cancel box; 122 is the "print all pages" check box in the print dialog and the printer
 * list in the printer-setup dialog; 115 is the driver set-up button of both set-up dialogs).
 */
#ifndef VEXORA_RESOURCE_IDS_H
#define VEXORA_RESOURCE_IDS_H

/* ------------------------------------------------------------------------------------------ */
/* Dialog template names (resources named by string, looked up with the module instance)    */
/* ------------------------------------------------------------------------------------------ */

#define VX_DLG_PRINT_CANCEL          "PRINTCANCELDLGBOX" /* modeless cancel box of a job       */
#define VX_DLG_PRINT_PAGE            "PRINTPAGE"         /* print dialog: printer and options   */
#define VX_DLG_PRINTER_SETUP         "PRINTERSETUP"      /* printer-setup dialog                */
#define VX_DLG_PRINT_DLG_SETUP       "PRINTDLGSETUP"     /* older set-up template, not run      */

/* Static controls that are never addressed by the code (labels). */
#define IDC_VX_LABEL                 (-1)

/* Standard push buttons, same values as IDOK and IDCANCEL. */
#define IDC_VX_OK                    1
#define IDC_VX_CANCEL                2

/* ------------------------------------------------------------------------------------------ */
/* "PRINTPAGE": the print dialog                                                             */
/* ------------------------------------------------------------------------------------------ */

#define IDC_PRINTPAGE_PRINTER        1000 /* combo box: printers, item data = enumeration index */
#define IDC_PRINTPAGE_COPIES         116  /* edit box: number of copies (option 4)              */
#define IDC_PRINTPAGE_FIT            117  /* check box: fit keeping proportions (option 3)      */
#define IDC_PRINTPAGE_STRETCH        118  /* check box: stretch to the whole page (option 6)    */
#define IDC_PRINTPAGE_CENTER_H       119  /* check box: centre horizontally (option 2)          */
#define IDC_PRINTPAGE_CENTER_V       120  /* check box: centre vertically (option 1)            */
#define IDC_PRINTPAGE_TITLE          121  /* static: document title                             */
#define IDC_PRINTPAGE_ALL_PAGES      122  /* check box: print all pages (option 7)              */
#define IDC_PRINTPAGE_USE_IMAGE_DPI  500  /* check box: use the image's resolution (option 8)   */
#define IDC_PRINTPAGE_SPARE1         901  /* empty static                                       */
#define IDC_PRINTPAGE_SPARE2         902  /* empty static                                       */
#define IDC_PRINTPAGE_SPARE3         903  /* empty static                                       */

/* ------------------------------------------------------------------------------------------ */
/* "PRINTERSETUP": the printer-setup dialog                                                  */
/* ------------------------------------------------------------------------------------------ */

#define IDC_PRINTERSETUP_LIST        122  /* list box: "name on port<TAB>name=driver,port"      */
#define IDC_PRINTERSETUP_SETUP       115  /* push button: driver set-up                         */

/* ------------------------------------------------------------------------------------------ */
/* "PRINTCANCELDLGBOX": the cancel box shown while a job prints                              */
/* ------------------------------------------------------------------------------------------ */

#define IDC_PRINTCANCEL_TEXT         121  /* static: title, or title and page counter           */

/* ------------------------------------------------------------------------------------------ */
/* "PRINTDLGSETUP": older printer set-up template                                             */
/* ------------------------------------------------------------------------------------------ */

#define IDC_PRINTDLGSETUP_HEADING    100  /* static: "Printer Setup"                            */
#define IDC_PRINTDLGSETUP_LIST       123  /* list box: printers                                 */
#define IDC_PRINTDLGSETUP_SETUP      115  /* push button: driver set-up                         */

/* ------------------------------------------------------------------------------------------ */
/* String table: the library's name and the print-dialog failure messages                    */
/* ------------------------------------------------------------------------------------------ */

#define IDS_SDK_NAME                     1  /* "Vexora SDK"                                     */
#define IDS_PRINTDLG_RESOURCES_FAILED    2  /* can't find/load/lock resources                   */
#define IDS_PRINTDLG_LOW_MEMORY          3  /* low memory                                       */
#define IDS_PRINTER_DRIVER_INIT_FAILED   4  /* printer driver failed to initialize              */
#define IDS_PRINTDLG_NO_PRINTER_DRIVERS  5  /* no printer device drivers found                  */
#define IDS_PRINTDLG_DRIVER_LOAD_FAILED  6  /* loading the printer device driver failed         */
#define IDS_PRINTDLG_DEVICES_PARSE_FAILED 7 /* [devices] section could not be parsed            */
#define IDS_PRINTDLG_NO_DEFAULT_PRINTER  8  /* no default printer                               */
#define IDS_PRINTDLG_SETUP_RESOURCES     9  /* set-up resources failed                          */
#define IDS_PRINTDLG_INIT_FAILED         10 /* failure during initialisation                    */
#define IDS_SPOOL_NO_DISK_SPACE          11 /* not enough disk space for spooling               */
#define IDS_SPOOL_NO_MEMORY              12 /* not enough memory for spooling                   */
#define IDS_PRINTER_GENERAL_ERROR        13 /* general printer error                            */
#define IDS_NO_ACTIVE_PRINTER            14 /* no active printer device                         */

#define IDS_FIRST                        IDS_SDK_NAME
#define IDS_LAST                         IDS_NO_ACTIVE_PRINTER

#endif /* VEXORA_RESOURCE_IDS_H */
