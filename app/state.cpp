#include "state.h"

QString startPath;
QString rBtnOpenFile[kCommandLineSlots];
HistoryAddrList addrlist[kHistoryCapacity];
int addrNum = 0;
struct videoInfo videoInfo;
PlayingList playinglist;
bool playingState = false;
int decodeFlag = DecodeSingle;
int decodeSoftware = 0;
QString defaultPlayPath;
int defaultVolum = 30;
bool muteFlag = false;
double audioDelay = 0.0;
double subDelay = 0.0;
int delayFlag = DelayAudio;
bool subTitleFlag = false;
bool lastTimePlayFlag = false;
bool emptyListCheckFlag = false;
int firstStartFlag = 0;
int playMode = 0;
QString screenShotPath;
bool fullScreenFlag = false;
bool maxFlag = false;
