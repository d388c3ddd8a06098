#include "kit/files/QVFileManager.h"
#include "platform/linux/run_loop.h"
#include "platform/linux/services.h"
#include "platform/Services.h"
#include <cstdio>
int main(int c,char**v){ using namespace quorvane; auto loop=std::make_shared<platform::linux_::RunLoop>(); auto s=platform::linux_::makeServices(loop); platform::installServices(&s); for(int i=0;i<20;i++) printf("%llu\n",(unsigned long long)QVFileManager::fileSize(Path(v[1])));}
