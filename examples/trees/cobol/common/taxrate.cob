       IDENTIFICATION DIVISION.
       PROGRAM-ID. TAXRATE.
      * The rate of the day, read through the synonym TAXES.
       DATA DIVISION.
       LINKAGE SECTION.
       01 LS-RATE PIC 9V9999.
       PROCEDURE DIVISION USING LS-RATE.
           EXEC SQL
               SELECT RATE INTO :LS-RATE FROM TAXES
                WHERE VALID_FROM <= CURRENT DATE
           END-EXEC
           GOBACK.
