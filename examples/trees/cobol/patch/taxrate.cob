       IDENTIFICATION DIVISION.
       PROGRAM-ID. TAXRATE.
      * Patched: the rate of the order's date, not of today.
       DATA DIVISION.
       LINKAGE SECTION.
       01 LS-RATE PIC 9V9999.
       PROCEDURE DIVISION USING LS-RATE.
           EXEC SQL
               SELECT RATE INTO :LS-RATE FROM TAXES
                WHERE VALID_FROM <= :ORDER-DATE
           END-EXEC
           Call 'LOGRATE' using LS-RATE
           GOBACK.
