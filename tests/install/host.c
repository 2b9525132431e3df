#include <stdio.h>
#include "libquorvex.h"

int main(void) {
    InitializeGlobals(NULL, 0);
    Environment *env = InitializeTopLevelEnvironment(NULL);
    char *answer = QuorvexScript("deriv(sin(x)^2,x)", env, 1);
    printf("%s\n", answer);
    FreeString(answer);
    TerminateEnvironment(env);
    TerminateGlobals();
}
