// The native half of StageJvm: a binder service whose calls are handled by Java methods on Java
// threads, so that a thread dump shows them.

#include "host/staging/Stage.h"

#include <binder/Binder.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>
#include <jni.h>

namespace {

JavaVM* sJavaVm = nullptr;

std::string toString(JNIEnv* env, jstring text) {
    const char* chars = env->GetStringUTFChars(text, nullptr);
    std::string result(chars == nullptr ? "" : chars);
    env->ReleaseStringUTFChars(text, chars);
    return result;
}

class JavaService : public android::BBinder {
  public:
    JavaService(jclass stageJvm, jmethodID onTransact)
          : mStageJvm(stageJvm), mOnTransact(onTransact) {}

  protected:
    // Only Java threads have joined the pool, so the environment is there.
    android::status_t onTransact(uint32_t, const android::Parcel&, android::Parcel*,
                                 uint32_t) override {
        JNIEnv* env = nullptr;
        if (sJavaVm->GetEnv(reinterpret_cast<void**>(&env), JNI_VERSION_10) != JNI_OK) {
            return android::INVALID_OPERATION;
        }
        env->CallStaticVoidMethod(mStageJvm, mOnTransact);
        return android::OK;
    }

  private:
    const jclass mStageJvm;
    const jmethodID mOnTransact;
};

}  // namespace

extern "C" JNIEXPORT jint JNI_OnLoad(JavaVM* vm, void*) {
    sJavaVm = vm;
    stage::eraseArguments();
    return JNI_VERSION_10;
}

extern "C" JNIEXPORT jint JNICALL Java_StageJvm_register(JNIEnv* env, jclass self, jstring name) {
    const jmethodID onTransact = env->GetStaticMethodID(self, "onTransact", "()V");
    const auto global = static_cast<jclass>(env->NewGlobalRef(self));
    android::ProcessState::self()->setThreadPoolMaxThreadCount(0);
    return android::defaultServiceManager()->addService(
            android::String16(toString(env, name).c_str()), new JavaService(global, onTransact));
}

extern "C" JNIEXPORT void JNICALL Java_StageJvm_joinThreadPool(JNIEnv*, jclass) {
    android::IPCThreadState::self()->joinThreadPool();
}

extern "C" JNIEXPORT jint JNICALL Java_StageJvm_transact(JNIEnv* env, jclass, jstring service,
                                                         jint code) {
    return stage::callServiceAndWait(toString(env, service), static_cast<uint32_t>(code));
}
